import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// A text button drawn in the window's own colours; `prominent` fills it with the accent, or with
// red where the action destroys something.
Clickable {
    id: root
    property bool prominent: false
    property bool destructive: false
    implicitWidth: caption.implicitWidth + 24
    implicitHeight: 26
    hoverEnabled: true
    opacity: enabled ? 1 : 0.4
    background: Rectangle {
        radius: 6
        color: root.prominent ? (root.destructive ? Appearance.red : Appearance.accent) : (root.hovered ? Qt.darker(Appearance.control, 1.6) : Qt.darker(Appearance.control, 1.3))
        border.width: 1
        border.color: root.prominent ? "transparent" : Appearance.hairline
    }
    contentItem: UiText {
        id: caption
        text: root.text
        size: 12
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        color: root.prominent ? "white" : Appearance.primary
    }
}
