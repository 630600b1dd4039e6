import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// One event of the activity feed, or the divider before the older events.
Item {
    id: row
    required property int index
    required property bool isDivider
    required property string dividerText
    required property string description
    required property string dateLabel
    required property string amountText
    required property string currencyCode
    required property color amountColor
    required property string letter
    required property color letterColor
    required property string iconSource
    required property color badgeColor
    required property string badgeSymbol
    required property bool expanded
    required property bool hasEmail
    required property string emailText
    required property bool copied
    required property string accountName
    required property string linkLabel
    required property url linkUrl
    required property bool hairline
    required property bool isDemo
    required property FeedModel feed
    signal openLink(url link)

    width: ListView.view ? ListView.view.width : 400
    implicitHeight: isDivider ? 26 : content.implicitHeight + 1

    RowLayout {
        visible: row.isDivider
        anchors.fill: parent
        spacing: 8
        Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline }
        UiText { text: row.dividerText; size: 10; color: Appearance.secondary }
        Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline }
    }

    ColumnLayout {
        id: content
        visible: !row.isDivider
        width: parent.width
        spacing: 0

        Clickable {
            objectName: "feedRow"
            Layout.fillWidth: true
            implicitHeight: line.implicitHeight + 12
            topPadding: 6
            bottomPadding: 6
            ringOutset: 0
            onClicked: row.feed.toggle(row.index)
            // Tab walks the rows: the list follows the focused one.
            onActiveFocusChanged: if (activeFocus && row.ListView.view)
                                      row.ListView.view.positionViewAtIndex(row.index, ListView.Contain)
            HoverHandler { cursorShape: Qt.PointingHandCursor }

            contentItem: RowLayout {
                id: line
                spacing: 10

                Item {
                    implicitWidth: 30
                    implicitHeight: 30
                    Rectangle {
                        anchors.fill: parent
                        radius: 7
                        color: row.letterColor
                        // An icon file that cannot be read falls back to the letter.
                        visible: row.iconSource.length === 0 || accountIcon.status === Image.Error
                        UiText {
                            anchors.centerIn: parent
                            text: row.letter
                            color: "white"
                            size: 14
                            font.bold: true
                        }
                    }
                    Image {
                        id: accountIcon
                        anchors.fill: parent
                        visible: row.iconSource.length > 0 && status !== Image.Error
                        source: row.iconSource
                        sourceSize: Qt.size(60, 60)
                        asynchronous: true
                    }
                    Rectangle {
                        // The status badge over the icon's lower-right corner.
                        readonly property bool large: row.badgeSymbol.length > 0
                        width: large ? 15 : 9
                        height: width
                        radius: width / 2
                        x: parent.width - width + (large ? 4 : 2)
                        y: parent.height - height + (large ? 4 : 2)
                        color: row.badgeColor
                        border.color: Appearance.window
                        border.width: large ? 1.5 : 1
                        Symbol {
                            anchors.centerIn: parent
                            visible: parent.large
                            name: row.badgeSymbol
                            size: 8
                            color: "white"
                        }
                    }
                }

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 2
                    UiText {
                        Layout.fillWidth: true
                        text: row.description
                        size: 13
                        maximumLineCount: 1
                    }
                    RowLayout {
                        spacing: 4
                        Symbol { name: "calendar"; size: 9; color: Appearance.secondary }
                        UiText { text: row.dateLabel; size: 11; color: Appearance.secondary }
                        UiText { visible: row.isDemo; text: "· Demo"; size: 11; color: Appearance.tertiary }
                    }
                }

                RowLayout {
                    spacing: 3
                    UiText {
                        visible: row.currencyCode.length > 0
                        text: row.currencyCode
                        size: 9
                        font.weight: Font.Medium
                        color: Appearance.tertiary
                    }
                    UiText {
                        text: row.amountText
                        size: 15
                        font.weight: Font.DemiBold
                        color: row.amountColor.a > 0 ? row.amountColor : Appearance.primary
                    }
                }
                Symbol {
                    name: row.expanded ? "chevron.up" : "chevron.down"
                    size: 8
                    color: Appearance.secondary
                }
            }
        }

        ColumnLayout {
            visible: row.expanded
            Layout.fillWidth: true
            Layout.leftMargin: 40
            Layout.bottomMargin: 8
            spacing: 5

            RowLayout {
                visible: row.hasEmail
                spacing: 6
                Symbol { name: "person.crop.circle.fill"; size: 14; color: Appearance.secondary }
                UiText { text: row.emailText; size: 11 }
                Clickable {
                    implicitWidth: copyContent.implicitWidth + 8
                    implicitHeight: 18
                    hoverEnabled: true
                    onClicked: row.feed.copyEmail(row.index)
                    ToolTip.visible: hovered
                    ToolTip.text: "Click to copy"
                    ToolTip.delay: 500
                    contentItem: Item {
                        id: copyContent
                        implicitWidth: row.copied ? copiedText.implicitWidth : 10
                        Symbol {
                            visible: !row.copied
                            anchors.centerIn: parent
                            name: "doc.on.doc"
                            size: 9
                            color: Appearance.secondary
                        }
                        UiText {
                            id: copiedText
                            visible: row.copied
                            anchors.centerIn: parent
                            text: "Copied!"
                            size: 10
                            color: Appearance.green
                        }
                    }
                }
            }
            UiText { text: row.accountName; size: 10; color: Appearance.secondary }
            Clickable {
                visible: row.linkLabel.length > 0
                implicitWidth: chip.implicitWidth + 12
                implicitHeight: 20
                onClicked: row.openLink(row.linkUrl)
                background: Rectangle { radius: 6; color: Appearance.hairline }
                contentItem: RowLayout {
                    id: chip
                    spacing: 4
                    Symbol { name: "arrow.up.right.square"; size: 10 }
                    UiText { text: row.linkLabel; size: 10 }
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            height: 1
            color: Appearance.hairline
            visible: row.hairline
        }
    }
}
