import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Subscriptions whose payments failed, by how far the failure has gone, with one-click retry.
ColumnLayout {
    id: pane
    required property AtRiskModel model
    required property Navigation navigation
    signal openLink(url link)

    spacing: 10

    RowLayout {
        Layout.fillWidth: true
        BackButton { onClicked: pane.navigation.showDashboard() }
        UiText { Layout.fillWidth: true; text: "At risk · recover revenue"; size: 12; font.weight: Font.DemiBold; horizontalAlignment: Text.AlignHCenter }
        Item { implicitWidth: 70 }
    }

    // Summary card.
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: summary.implicitHeight + 20
        radius: 10
        color: Appearance.control
        RowLayout {
            id: summary
            anchors.fill: parent
            anchors.margins: 10
            spacing: 10
            Symbol { Layout.alignment: Qt.AlignTop; name: "exclamationmark.triangle.fill"; size: 20; color: Appearance.orange }
            ColumnLayout {
                Layout.fillWidth: true
                spacing: 2
                UiText { text: "Potentially recoverable"; size: 11; color: Appearance.secondary }
                RowLayout {
                    spacing: 2
                    UiText { objectName: "atRiskTotal"; text: pane.model.totalText; size: 26; font.weight: Font.DemiBold }
                    UiText { Layout.alignment: Qt.AlignBaseline; text: "/mo"; size: 13; color: Appearance.secondary }
                }
                RowLayout {
                    spacing: 6
                    UiText { text: pane.model.subscriptionsLine; size: 11 }
                    Spinner { visible: pane.model.isLoading; size: 10 }
                    UiText { visible: pane.model.isLoading; text: "scanning…"; size: 10; color: Appearance.secondary }
                }
            }
        }
    }

    ColumnLayout {
        visible: pane.model.isEmpty
        Layout.fillWidth: true
        Layout.topMargin: 24
        Layout.bottomMargin: 24
        spacing: 8
        Symbol { Layout.alignment: Qt.AlignHCenter; name: "checkmark.seal.fill"; size: 28; color: Appearance.green }
        UiText { Layout.alignment: Qt.AlignHCenter; text: "All clear"; size: 14; font.weight: Font.DemiBold }
        UiText { Layout.alignment: Qt.AlignHCenter; text: "No subscriptions are stuck on payment failure right now."; size: 11; color: Appearance.secondary }
    }

    ListView {
        visible: !pane.model.isEmpty
        Layout.fillWidth: true
        Layout.preferredHeight: Math.min(contentHeight, 420)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: pane.model
        ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
        delegate: ColumnLayout {
            id: row
            required property int index
            required property bool isHeader
            required property string title
            required property string detail
            required property string email
            required property bool copied
            required property string amountText
            required property string currencyCode
            required property string accountName
            required property string letter
            required property color letterColor
            required property string iconSource
            required property string retryState
            required property string retryLabel
            required property string errorText
            required property url linkUrl
            required property bool lastInSection
            width: ListView.view.width
            spacing: 0

            // Section header.
            RowLayout {
                visible: row.isHeader
                Layout.topMargin: row.index > 0 ? 12 : 0
                Layout.bottomMargin: 2
                spacing: 5
                UiText { text: row.title; size: 12; font.weight: Font.DemiBold }
                UiText { text: row.detail; size: 10; color: Appearance.secondary }
            }

            RowLayout {
                visible: !row.isHeader
                Layout.fillWidth: true
                Layout.topMargin: 7
                spacing: 10
                Item {
                    Layout.alignment: Qt.AlignTop
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
                    UiText { Layout.fillWidth: true; text: row.title; textFormat: Text.PlainText; size: 13; font.weight: Font.Medium; elide: Text.ElideRight }
                    RowLayout {
                        visible: row.email.length > 0
                        spacing: 5
                        UiText { Layout.maximumWidth: 200; text: row.email; textFormat: Text.PlainText; size: 11; elide: Text.ElideRight }
                        Clickable {
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
                    }
                    UiText { text: row.detail; size: 10; color: Appearance.secondary }
                }
                ColumnLayout {
                    Layout.alignment: Qt.AlignTop
                    spacing: 2
                    RowLayout {
                        Layout.alignment: Qt.AlignRight
                        spacing: 3
                        UiText { visible: row.currencyCode.length > 0; text: row.currencyCode; textFormat: Text.PlainText; size: 9; color: Appearance.secondary }
                        UiText { text: row.amountText; size: 13; font.weight: Font.DemiBold }
                    }
                    UiText { Layout.alignment: Qt.AlignRight; text: row.accountName; textFormat: Text.PlainText; size: 9; color: Appearance.secondary }
                }
            }

            // Actions.
            RowLayout {
                visible: !row.isHeader && (row.retryState !== "hidden" || row.linkUrl.toString().length > 0)
                Layout.leftMargin: 36
                Layout.topMargin: 5
                spacing: 8
                RowLayout {
                    visible: row.retryState === "needsNewCard"
                    spacing: 4
                    Symbol { name: "person.fill.questionmark"; size: 11; color: Appearance.orange }
                    UiText { text: "Needs new card"; size: 11; font.weight: Font.Medium; color: Appearance.orange }
                }
                Clickable {
                    id: retryButton
                    objectName: "retryButton"
                    visible: row.retryState !== "hidden" && row.retryState !== "needsNewCard"
                    // A paid row waits in place to leave: a second click must not pay again.
                    enabled: row.retryState !== "retrying" && row.retryState !== "retried"
                    implicitWidth: retryRow.implicitWidth + 14
                    implicitHeight: 22
                    hoverEnabled: true
                    onClicked: pane.model.retry(row.index)
                    background: Rectangle { radius: 5; color: retryButton.hovered ? Appearance.control : Appearance.hairline }
                    contentItem: RowLayout {
                        id: retryRow
                        spacing: 4
                        Spinner { visible: row.retryState === "retrying"; size: 10 }
                        Symbol {
                            visible: row.retryState === "idle" || row.retryState === "failed"
                            name: row.retryState === "failed" ? "xmark.circle.fill" : "arrow.clockwise"
                            size: 11
                            color: row.retryState === "failed" ? Appearance.red : Appearance.accent
                        }
                        UiText {
                            text: row.retryLabel
                            size: 11
                            color: row.retryState === "retried" ? Appearance.green
                                 : row.retryState === "throttled" ? Appearance.secondary : Appearance.primary
                        }
                    }
                }
                Clickable {
                    id: linkButton
                    visible: row.linkUrl.toString().length > 0
                    implicitWidth: linkRow.implicitWidth + 14
                    implicitHeight: 22
                    hoverEnabled: true
                    onClicked: pane.openLink(row.linkUrl)
                    background: Rectangle { radius: 5; color: Qt.rgba(Appearance.primary.r, Appearance.primary.g, Appearance.primary.b, 0.18) }
                    contentItem: RowLayout {
                        id: linkRow
                        spacing: 4
                        Symbol { name: "arrow.up.right.square"; size: 11; color: Appearance.primary }
                        UiText { text: "Open in Stripe"; size: 11 }
                    }
                }
            }
            UiText {
                visible: !row.isHeader && row.errorText.length > 0
                Layout.fillWidth: true
                Layout.leftMargin: 36
                Layout.topMargin: 3
                text: row.errorText
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                size: 10
                // A refusal for the spacing was never attempted: an explanation, not an error.
                color: row.retryState === "throttled" ? Appearance.secondary
                                                      : Qt.rgba(Appearance.red.r, Appearance.red.g, Appearance.red.b, 0.85)
            }
            Rectangle {
                visible: !row.isHeader && !row.lastInSection
                Layout.fillWidth: true
                Layout.topMargin: 7
                height: 1
                color: Appearance.hairline
            }
            Item { visible: !row.isHeader && row.lastInSection; implicitHeight: 7 }
        }
    }
}
