import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// A compact menu-style picker over a list of labels.
ComboBox {
    id: box
    implicitHeight: 26
    font.family: Appearance.fontFamily
    font.pixelSize: 12
    contentItem: UiText {
        leftPadding: 8
        text: box.displayText
        size: 12
        verticalAlignment: Text.AlignVCenter
    }
    background: Rectangle {
        radius: 6
        color: Appearance.control
        border.width: box.visualFocus ? 2 : 0
        border.color: Appearance.accent
    }
}
