import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A rounded button with a label and a chevron that opens a menu of a ChoiceListModel.
Clickable {
    id: root
    property string label
    property ChoiceListModel choices

    implicitHeight: 24
    implicitWidth: row.implicitWidth + 16
    hoverEnabled: true
    onClicked: menu.open()

    background: Rectangle {
        radius: 6
        color: root.hovered ? Qt.darker(Appearance.control, 1.4) : Appearance.control
    }
    contentItem: RowLayout {
        id: row
        spacing: 5
        UiText {
            text: root.label
            size: 11
            Layout.maximumWidth: 160
        }
        Symbol { name: "chevron.down"; size: 8; color: Appearance.secondary }
    }

    Menu {
        id: menu
        y: root.height + 2
        margins: 16 // inside the panel, clear of its shadow
        Repeater {
            model: root.choices
            delegate: MenuItem {
                required property int index
                required property string label
                required property bool isChecked
                required property bool isSeparator
                required property string iconSource
                enabled: !isSeparator
                height: isSeparator ? 9 : implicitHeight
                onTriggered: root.choices.choose(index)
                contentItem: Item {
                    implicitHeight: 22
                    implicitWidth: text.implicitWidth + text.x + 6
                    Rectangle {
                        visible: isSeparator
                        anchors.verticalCenter: parent.verticalCenter
                        width: parent.width
                        height: 1
                        color: Appearance.hairline
                    }
                    Symbol {
                        visible: isChecked
                        anchors.verticalCenter: parent.verticalCenter
                        name: "checkmark"
                        size: 10
                    }
                    Image {
                        id: icon
                        visible: iconSource.length > 0 && status === Image.Ready
                        x: 18
                        anchors.verticalCenter: parent.verticalCenter
                        width: 14
                        height: 14
                        sourceSize: Qt.size(28, 28)
                        source: iconSource
                    }
                    UiText {
                        id: text
                        visible: !isSeparator
                        x: icon.visible ? 38 : 18
                        anchors.verticalCenter: parent.verticalCenter
                        text: label
                        size: 12
                    }
                }
                background: Rectangle {
                    color: parent.highlighted && !isSeparator ? Appearance.control : "transparent"
                    radius: 4
                }
            }
        }
        background: Rectangle {
            implicitWidth: 180
            color: Appearance.popup
            border.color: Appearance.hairline
            radius: 8
        }
    }
}
