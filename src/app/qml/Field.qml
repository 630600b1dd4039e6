import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// A single-line field; `secret` hides what is typed, `monospaced` suits keys and ids.
TextField {
    id: field
    property bool secret: false
    property bool monospaced: false
    echoMode: secret ? TextInput.Password : TextInput.Normal
    font.family: monospaced ? "monospace" : Appearance.fontFamily
    font.pixelSize: 12
    color: Appearance.primary
    placeholderTextColor: Appearance.tertiary
    selectByMouse: true
    implicitHeight: 28
    leftPadding: 8
    background: Rectangle {
        radius: 6
        color: Appearance.control
        border.color: field.activeFocus ? Appearance.accent : Appearance.hairline
    }
}
