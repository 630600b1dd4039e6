import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// A small date field that opens a month grid; the grid's days, bounds and texts come from
// its DatePickerModel.
Clickable {
    id: root
    required property DatePickerModel picker

    implicitHeight: 22
    implicitWidth: label.implicitWidth + 16
    hoverEnabled: true
    onClicked: popup.open()

    background: Rectangle {
        radius: 5
        color: root.hovered ? Qt.darker(Appearance.control, 1.4) : Appearance.control
    }
    contentItem: UiText {
        id: label
        text: root.picker.selectedText
        size: 11
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    Popup {
        id: popup
        y: root.height + 2
        padding: 8
        background: Rectangle {
            color: Appearance.popup
            border.color: Appearance.hairline
            radius: 8
        }
        contentItem: ColumnLayout {
            spacing: 4
            RowLayout {
                IconButton {
                    symbol: "chevron.left"
                    symbolSize: 10
                    enabled: root.picker.canGoBack
                    onClicked: root.picker.previousMonth()
                }
                UiText {
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: root.picker.monthTitle
                    size: 12
                    font.weight: Font.Medium
                }
                IconButton {
                    symbol: "chevron.right"
                    symbolSize: 10
                    enabled: root.picker.canGoForward
                    onClicked: root.picker.nextMonth()
                }
            }
            GridLayout {
                columns: 7
                columnSpacing: 2
                rowSpacing: 2
                Repeater {
                    model: root.picker.weekdayNames
                    delegate: UiText {
                        required property string modelData
                        Layout.preferredWidth: 26
                        horizontalAlignment: Text.AlignHCenter
                        text: modelData
                        size: 10
                        color: Appearance.secondary
                    }
                }
                Repeater {
                    model: root.picker
                    delegate: Clickable {
                        id: cell
                        required property int index
                        required property int day
                        required property bool inMonth
                        required property bool selected
                        required property bool selectable
                        enabled: selectable
                        Layout.preferredWidth: 26
                        Layout.preferredHeight: 22
                        onClicked: {
                            // Picking rebuilds the grid and destroys this cell: close first.
                            const picker = root.picker
                            const day = index
                            popup.close()
                            picker.pick(day)
                        }
                        background: Rectangle {
                            radius: 5
                            color: cell.selected ? Appearance.accent : (cell.hovered ? Appearance.control : "transparent")
                        }
                        contentItem: UiText {
                            text: cell.day
                            size: 11
                            horizontalAlignment: Text.AlignHCenter
                            verticalAlignment: Text.AlignVCenter
                            color: cell.selected ? "white" : Appearance.primary
                            opacity: !cell.enabled ? 0.25 : (cell.inMonth ? 1 : 0.5)
                        }
                    }
                }
            }
        }
    }
}
