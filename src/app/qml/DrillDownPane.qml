import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Who is behind one totals tile: one row per customer, biggest first.
ColumnLayout {
    id: pane
    required property DrillDownModel model
    required property Navigation navigation
    signal openLink(url link)

    spacing: 10

    RowLayout {
        Layout.fillWidth: true
        BackButton { onClicked: pane.navigation.showDashboard() }
        UiText { Layout.fillWidth: true; text: pane.model.title; size: 12; font.weight: Font.DemiBold; horizontalAlignment: Text.AlignHCenter }
        Clickable {
            id: exportButton
            implicitWidth: exportRow.implicitWidth + 10
            implicitHeight: 22
            hoverEnabled: true
            onClicked: exportMenu.open()
            background: Rectangle { radius: 5; color: exportButton.hovered ? Appearance.control : "transparent" }
            contentItem: RowLayout {
                id: exportRow
                spacing: 4
                Symbol { name: "square.and.arrow.down"; size: 10; color: Appearance.accent }
                UiText { text: "Export CSV…"; size: 10; color: Appearance.accent }
            }
            Menu {
                id: exportMenu
                // Opens leftwards from the button at the right edge, inside the panel.
                x: exportButton.width - width
                y: exportButton.height
                margins: 16
                MenuItem { text: "Customers in this list"; onTriggered: pane.model.exportCsv("customers") }
                MenuItem { text: "All events in this range"; onTriggered: pane.model.exportCsv("events") }
            }
        }
    }

    // One chip per kind: failed payments and refunds have no tile of their own.
    RowLayout {
        Layout.fillWidth: true
        spacing: 6
        Repeater {
            model: pane.model.kinds
            delegate: Clickable {
                id: chip
                required property int index
                required property string label
                required property bool isChecked
                objectName: "kindChip"
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                implicitHeight: 22
                hoverEnabled: true
                onClicked: pane.model.kinds.choose(index)
                background: Rectangle {
                    radius: 6
                    color: chip.isChecked ? Appearance.control : chip.hovered ? Qt.darker(Appearance.window, 1.04) : "transparent"
                    border.color: Appearance.hairline
                }
                contentItem: UiText {
                    text: chip.label
                    size: 9
                    font.letterSpacing: 1.2
                    font.weight: chip.isChecked ? Font.DemiBold : Font.Normal
                    color: chip.isChecked ? Appearance.primary : Appearance.secondary
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
    }

    ColumnLayout {
        spacing: 2
        UiText { text: pane.model.totalText; size: 26; font.weight: Font.DemiBold }
        UiText { text: pane.model.summaryLine; size: 10; color: Appearance.secondary }
        RowLayout {
            visible: pane.model.exportStatus.length > 0
            Layout.fillWidth: true
            spacing: 8
            UiText {
                Layout.fillWidth: true
                text: pane.model.exportStatus
                textFormat: Text.PlainText
                elide: Text.ElideMiddle
                size: 9
                color: Appearance.secondary
            }
            Clickable {
                id: showInFolder
                objectName: "showInFolder"
                visible: pane.model.savedFile.length > 0
                implicitWidth: showInFolderText.implicitWidth
                implicitHeight: 16
                hoverEnabled: true
                onClicked: pane.model.showSavedFile()
                contentItem: UiText {
                    id: showInFolderText
                    text: "Show in folder"
                    size: 9
                    font.underline: showInFolder.hovered
                    color: Appearance.accent
                }
            }
        }
    }

    ColumnLayout {
        visible: pane.model.groupCount === 0
        Layout.fillWidth: true
        Layout.preferredWidth: pane.width
        Layout.topMargin: 24
        Layout.bottomMargin: 24
        spacing: 8
        Symbol { Layout.alignment: Qt.AlignHCenter; name: "tray"; size: 28; color: Appearance.secondary }
        UiText { Layout.alignment: Qt.AlignHCenter; text: pane.model.emptyText; size: 12; color: Appearance.secondary }
    }

    ListView {
        visible: pane.model.groupCount > 0
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 380)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: pane.model
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
        delegate: ColumnLayout {
            id: row
            required property int index
            required property string displayName
            required property bool hasEmail
            required property bool copied
            required property string countLine
            required property string dateLabel
            required property string amountText
            required property color amountColor
            required property string letter
            required property color letterColor
            required property string iconSource
            required property url linkUrl
            width: ListView.view.width
            spacing: 0

            RowLayout {
                Layout.fillWidth: true
                Layout.topMargin: 7
                Layout.bottomMargin: 7
                spacing: 10
                Item {
                    implicitWidth: 26
                    implicitHeight: 26
                    Rectangle {
                        anchors.fill: parent
                        radius: 6
                        color: row.letterColor
                        visible: row.iconSource.length === 0
                        UiText { anchors.centerIn: parent; text: row.letter; textFormat: Text.PlainText; color: "white"; size: 12; font.bold: true }
                    }
                    Image {
                        anchors.fill: parent
                        visible: row.iconSource.length > 0
                        source: row.iconSource
                        sourceSize: Qt.size(52, 52)
                        asynchronous: true
                    }
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    RowLayout {
                        Layout.fillWidth: true
                        spacing: 5
                        UiText { Layout.maximumWidth: 220; text: row.displayName; textFormat: Text.PlainText; size: 12 }
                        Clickable {
                            visible: row.hasEmail
                            implicitWidth: row.copied ? copiedText.implicitWidth + 4 : 14
                            implicitHeight: 16
                            hoverEnabled: true
                            onClicked: pane.model.copyEmail(row.index)
                            ToolTip.visible: hovered
                            ToolTip.text: "Click to copy"
                            ToolTip.delay: 500
                            contentItem: Item {
                                Symbol { visible: !row.copied; anchors.centerIn: parent; name: "doc.on.doc"; size: 9; color: Appearance.secondary }
                                UiText { id: copiedText; visible: row.copied; anchors.centerIn: parent; text: "Copied!"; size: 10; color: Appearance.green }
                            }
                        }
                        Item { Layout.fillWidth: true }
                    }
                    RowLayout {
                        spacing: 6
                        UiText { text: row.countLine; size: 10; color: Appearance.secondary }
                        UiText { text: row.dateLabel; size: 10; color: Appearance.secondary }
                    }
                }
                ColumnLayout {
                    spacing: 2
                    UiText { Layout.alignment: Qt.AlignRight; text: row.amountText; size: 13; font.weight: Font.DemiBold; color: row.amountColor }
                    Clickable {
                        visible: row.linkUrl.toString().length > 0
                        Layout.alignment: Qt.AlignRight
                        implicitWidth: linkRow.implicitWidth
                        implicitHeight: 14
                        onClicked: pane.openLink(row.linkUrl)
                        contentItem: RowLayout {
                            id: linkRow
                            spacing: 3
                            UiText { text: "Stripe"; size: 9; color: Appearance.accent }
                            Symbol { name: "arrow.up.right.square"; size: 9; color: Appearance.accent }
                        }
                    }
                }
            }
            Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline; visible: row.index < pane.model.groupCount - 1 }
        }
    }
}
