import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// A −/+ stepper: two halves of one rounded control, each with its own focus ring.
Row {
    id: root
    property bool canDecrease: true
    property bool canIncrease: true
    signal decreased()
    signal increased()

    Repeater {
        model: [{ glyph: "−", tip: "Less", up: false }, { glyph: "+", tip: "More", up: true }]
        delegate: Clickable {
            id: half
            required property var modelData
            enabled: modelData.up ? root.canIncrease : root.canDecrease
            implicitWidth: 30
            implicitHeight: 24
            hoverEnabled: true
            focusPolicy: Qt.StrongFocus
            onClicked: modelData.up ? root.increased() : root.decreased()
            Accessible.name: modelData.tip
            background: Rectangle {
                radius: 6
                color: half.down ? Qt.darker(Appearance.control, 1.9)
                                 : half.hovered ? Qt.darker(Appearance.control, 1.5) : Appearance.control
                border.width: 1
                border.color: Appearance.hairline
            }
            contentItem: UiText {
                text: half.modelData.glyph
                size: 15
                horizontalAlignment: Text.AlignHCenter
                verticalAlignment: Text.AlignVCenter
                opacity: half.enabled ? 1 : 0.35
            }
        }
    }
}
