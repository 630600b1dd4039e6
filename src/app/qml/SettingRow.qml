import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A title with a switch on the right, and an optional note under the title.
RowLayout {
    id: root
    property string title
    property string note
    property bool checked
    signal toggled(bool value)

    Layout.fillWidth: true
    spacing: 8
    ColumnLayout {
        spacing: 1
        UiText { text: root.title; size: 12 }
        UiText {
            visible: root.note.length > 0
            text: root.note
            size: 10
            color: Appearance.secondary
        }
    }
    Item { Layout.fillWidth: true }
    Switch {
        id: toggle
        checked: root.checked
        onToggled: root.toggled(checked)
        padding: 0
        Keys.onReturnPressed: { toggle.toggle(); toggle.toggled() }
        Keys.onEnterPressed: { toggle.toggle(); toggle.toggled() }
        FocusRing { shown: toggle.visualFocus; cornerRadius: 9 }
        indicator: Rectangle {
            implicitWidth: 32
            implicitHeight: 18
            radius: 9
            color: toggle.checked ? Appearance.accent : Appearance.switchOff
            Rectangle {
                x: toggle.checked ? parent.width - width - 2 : 2
                anchors.verticalCenter: parent.verticalCenter
                width: 14
                height: 14
                radius: 7
                color: "white"
                Behavior on x { NumberAnimation { duration: 120 } }
            }
        }
    }
}
