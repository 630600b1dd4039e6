import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The home pane: headline, controls, tiles, chart, feed and footer.
ColumnLayout {
    id: pane
    required property DashboardModel dashboard
    required property Navigation navigation
    property UpdateModel update
    property MrrModel mrr
    signal quitRequested()
    signal openLink(url link)
    // Hidden until the dashboard is next shown; the footer button stays.
    property bool atRiskBannerDismissed: false

    spacing: 10

    // Everything above the footer. When the screen is short the chart and the feed give way
    // first; what still does not fit scrolls here, so the footer below always stays in reach.
    Flickable {
        id: body
        objectName: "dashboardBody"
        readonly property bool scrolls: contentHeight > height + 1
        Layout.fillWidth: true
        Layout.fillHeight: true
        // Room for the tiles' and rows' focus rings, which are drawn just outside them.
        Layout.leftMargin: -4
        Layout.rightMargin: -4
        Layout.preferredHeight: column.implicitHeight + 8
        Layout.minimumHeight: Math.min(column.implicitHeight + 8, 120)
        contentWidth: width
        contentHeight: column.height + 8
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar { policy: body.scrolls ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff }

        ColumnLayout {
            id: column
            x: 4
            y: 4
            width: body.width - 8 - (body.scrolls ? 8 : 0)
            height: Math.max(body.height - 8, Layout.minimumHeight)
            spacing: 10

    // Headline.
    ColumnLayout {
        Layout.fillWidth: true
        spacing: 3
        RowLayout {
            spacing: 8
            UiText {
                text: pane.dashboard.rangeTitle
                size: 11
                font.weight: Font.Medium
                color: Appearance.secondary
            }
            // The figures are made up: say so where they are read, and lead to the accounts.
            AbstractButton {
                id: demoChip
                objectName: "demoChip"
                visible: pane.dashboard.showsDemo
                hoverEnabled: true
                implicitWidth: demoChipText.implicitWidth + 16
                implicitHeight: demoChipText.implicitHeight + 4
                onClicked: pane.navigation.showSettings("accounts")
                background: Rectangle {
                    radius: height / 2
                    color: Qt.rgba(Appearance.newColor.r, Appearance.newColor.g, Appearance.newColor.b, demoChip.hovered ? 0.22 : 0.12)
                    border.width: 1
                    border.color: Qt.rgba(Appearance.newColor.r, Appearance.newColor.g, Appearance.newColor.b, 0.45)
                }
                contentItem: UiText {
                    id: demoChipText
                    text: "Demo data"
                    size: 9
                    font.weight: Font.DemiBold
                    color: Appearance.newColor
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
        RowLayout {
            visible: pane.dashboard.headlineState === "loading"
            spacing: 8
            Spinner { size: 18 }
            UiText { text: "Loading…"; size: 26; font.bold: true }
        }
        RowLayout {
            visible: pane.dashboard.headlineState === "unavailable"
            spacing: 8
            Symbol { name: "exclamationmark.triangle.fill"; size: 16; color: Appearance.orange }
            UiText { text: "Couldn't load revenue"; size: 20 }
        }
        Clickable {
            id: connectLink
            objectName: "connectAccount"
            visible: pane.dashboard.headlineState === "noAccount"
            implicitWidth: connectText.implicitWidth
            implicitHeight: connectText.implicitHeight
            hoverEnabled: true
            onClicked: pane.navigation.showSettings("accounts")
            contentItem: UiText {
                id: connectText
                text: "Connect an account"
                size: 24
                font.weight: Font.DemiBold
                font.underline: connectLink.hovered
                color: Appearance.accent
            }
        }
        UiText {
            visible: pane.dashboard.headlineState === "amount"
            text: pane.dashboard.headlineAmount
            size: 30
            font.weight: Font.DemiBold
        }
        UiText {
            visible: pane.dashboard.headlineState === "amount" && pane.dashboard.churnLine.length > 0
            text: pane.dashboard.churnLine
            size: 10
            color: Appearance.secondary
        }
        RowLayout {
            visible: pane.dashboard.isLoading
            spacing: 5
            Spinner { size: 10 }
            UiText {
                visible: pane.dashboard.progressText.length > 0
                text: pane.dashboard.progressText
                size: 10
                color: Appearance.secondary
                Layout.maximumWidth: 280
            }
            UiText { text: pane.dashboard.elapsedText; size: 10; color: Appearance.secondary }
            IconButton {
                symbol: "xmark.circle.fill"
                symbolSize: 11
                tip: "Cancel refresh"
                onClicked: pane.dashboard.cancelRefresh()
            }
        }
        RowLayout {
            visible: !pane.dashboard.isLoading && pane.dashboard.updatedText.length > 0
            spacing: 8
            UiText { text: pane.dashboard.updatedText; size: 10; color: Appearance.secondary }
            UiText {
                visible: pane.dashboard.tookText.length > 0
                text: pane.dashboard.tookText
                size: 10
                color: Appearance.tertiary
            }
        }
        RowLayout {
            visible: pane.dashboard.isFillingHistory
            spacing: 5
            Spinner { size: 9 }
            UiText { text: "Filling 30-90 day history…"; size: 9; color: Appearance.secondary }
        }
    }

    // A failed load: a short message, the whole text on demand.
    Rectangle {
        id: errorBanner
        property bool expanded: false
        visible: pane.dashboard.errorSummary.length > 0 && !pane.dashboard.isLoading
        Layout.fillWidth: true
        implicitHeight: bannerColumn.implicitHeight + 16
        radius: 8
        color: Qt.rgba(Appearance.red.r, Appearance.red.g, Appearance.red.b, 0.10)
        border.color: Qt.rgba(Appearance.red.r, Appearance.red.g, Appearance.red.b, 0.35)
        ColumnLayout {
            id: bannerColumn
            x: 10
            y: 8
            width: parent.width - 20
            spacing: 4
            RowLayout {
                Layout.fillWidth: true
                spacing: 6
                Symbol { Layout.alignment: Qt.AlignTop; name: "exclamationmark.triangle.fill"; size: 12; color: Appearance.red }
                UiText {
                    Layout.fillWidth: true
                    text: pane.dashboard.errorSummary
                    textFormat: Text.PlainText
                    wrapMode: Text.Wrap
                    size: 11
                }
                    }
                    // What to do about it, and what the line above leaves out.
                    RowLayout {
                        Layout.leftMargin: 18
                        spacing: 10
                        PushButton {
                            objectName: "errorAction"
                            text: pane.dashboard.errorActionText
                            onClicked: pane.dashboard.actOnError()
                        }
                        Clickable {
                            id: detailsToggle
                            visible: pane.dashboard.errorDetails.length > 0
                            implicitWidth: detailsText.implicitWidth
                            implicitHeight: 26
                            hoverEnabled: true
                    onClicked: errorBanner.expanded = !errorBanner.expanded
                            contentItem: UiText {
                                id: detailsText
                                text: errorBanner.expanded ? "Hide details" : "Details"
                                size: 11
                                verticalAlignment: Text.AlignVCenter
                                font.underline: detailsToggle.hovered
                                color: Appearance.accent
                            }
                }
            }
            UiText {
                        visible: errorBanner.expanded && pane.dashboard.errorDetails.length > 0
                Layout.fillWidth: true
                        Layout.leftMargin: 18
                        text: pane.dashboard.errorDetails
                textFormat: Text.PlainText
                wrapMode: Text.WrapAnywhere
                font.family: "monospace"
                size: 10
                color: Appearance.secondary
            }
        }
    }

    UpdateAvailableBanner {
        Layout.fillWidth: true
        update: pane.update
        onOpenLink: link => pane.openLink(link)
    }

    // Empty state.
    ColumnLayout {
        visible: !pane.dashboard.hasAccounts
        Layout.fillWidth: true
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 24
        Layout.bottomMargin: 24
        spacing: 10
        Symbol {
            Layout.alignment: Qt.AlignHCenter
            name: "chart.line.uptrend.xyaxis"
            size: 34
            color: Appearance.secondary
        }
        UiText {
            Layout.alignment: Qt.AlignHCenter
            text: "Add a Stripe or PayPal account to start tracking"
            size: 12
            color: Appearance.secondary
        }
        RowLayout {
            Layout.alignment: Qt.AlignHCenter
            spacing: 8
            PushButton {
                text: "Open Settings"
                prominent: true
                onClicked: pane.navigation.showSettings("accounts")
            }
            PushButton {
                text: "Try the demo"
                onClicked: pane.dashboard.tryDemo()
            }
        }
    }

    // Working dashboard.
    ColumnLayout {
        visible: pane.dashboard.hasAccounts
        Layout.fillWidth: true
        Layout.fillHeight: true
        spacing: 10

        RowLayout {
            spacing: 8
            MenuButton {
                objectName: "accountFilterMenu"
                label: pane.dashboard.accountFilterLabel
                choices: pane.dashboard.accountFilters
            }
            MenuButton {
                label: pane.dashboard.rangeLabel
                choices: pane.dashboard.ranges
            }
            Item { Layout.fillWidth: true }
            // Monthly recurring revenue has a pane of its own.
            Clickable {
                id: mrrEntry
                objectName: "mrrEntry"
                visible: pane.mrr !== null
                implicitWidth: mrrEntryRow.implicitWidth + 12
                implicitHeight: 24
                hoverEnabled: true
                onClicked: pane.navigation.showMrr()
                background: Rectangle { radius: 6; color: mrrEntry.hovered ? Appearance.control : "transparent"; border.color: Appearance.hairline }
                contentItem: RowLayout {
                    id: mrrEntryRow
                    spacing: 4
                    UiText { Layout.leftMargin: 6; text: pane.mrr ? pane.mrr.entryText : ""; size: 11; font.weight: Font.Medium }
                    Symbol { name: "chevron.right"; size: 10; color: Appearance.secondary }
                }
            }
        }
        RowLayout {
            visible: pane.dashboard.isCustomRange
            spacing: 6
            DatePickerButton { picker: pane.dashboard.customStart }
            UiText { text: "→"; size: 11; color: Appearance.secondary }
            DatePickerButton { picker: pane.dashboard.customEnd }
        }

        // The user's own account is in: offer to take the made-up figures out.
        Rectangle {
            objectName: "demoRemovalOffer"
            visible: pane.dashboard.offersDemoRemoval
            Layout.fillWidth: true
            implicitHeight: offerColumn.implicitHeight + 16
            radius: 8
            color: Qt.rgba(Appearance.newColor.r, Appearance.newColor.g, Appearance.newColor.b, 0.08)
            border.color: Qt.rgba(Appearance.newColor.r, Appearance.newColor.g, Appearance.newColor.b, 0.35)
            ColumnLayout {
                id: offerColumn
                x: 10
                y: 8
                width: parent.width - 20
                spacing: 6
                UiText {
                    Layout.fillWidth: true
                    wrapMode: Text.Wrap
                    text: "Your account is connected. Remove the demo business so the figures are only yours?"
                    size: 11
                }
                RowLayout {
                    spacing: 8
                    PushButton { text: "Remove demo"; prominent: true; onClicked: pane.dashboard.removeDemo() }
                    PushButton { text: "Keep it"; onClicked: pane.dashboard.keepDemo() }
                }
            }
        }

        // At-risk banner.
        Clickable {
            id: atRiskBanner
            objectName: "atRiskBanner"
            ringRadius: 8
            visible: pane.dashboard.hasAtRisk && !pane.atRiskBannerDismissed
            Layout.fillWidth: true
            implicitHeight: bannerRow.implicitHeight + 14
            hoverEnabled: true
            onClicked: pane.navigation.showAtRisk()
            background: Rectangle {
                radius: 8
                color: Qt.rgba(Appearance.orange.r, Appearance.orange.g, Appearance.orange.b, atRiskBanner.hovered ? 0.14 : 0.08)
                border.width: 1
                border.color: Qt.rgba(Appearance.orange.r, Appearance.orange.g, Appearance.orange.b, 0.3)
            }
            contentItem: RowLayout {
                id: bannerRow
                anchors.fill: parent
                anchors.leftMargin: 10
                anchors.rightMargin: 6
                spacing: 8
                Symbol { name: "exclamationmark.triangle.fill"; size: 14; color: Appearance.orange }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 1
                    UiText { text: pane.dashboard.atRiskLine; size: 11; font.weight: Font.Medium }
                    UiText { text: pane.dashboard.atRiskAmountLine; size: 10; color: Appearance.secondary }
                }
                Symbol { name: "chevron.right"; size: 11; color: Appearance.secondary }
                IconButton {
                    symbol: "xmark"
                    symbolSize: 10
                    tip: "Hide banner (still accessible via the warning icon in the footer)"
                    onClicked: pane.atRiskBannerDismissed = true
                }
            }
        }

        ColumnLayout {
            visible: pane.dashboard.isRangeDataIncomplete
            Layout.fillWidth: true
            Layout.topMargin: 20
            Layout.bottomMargin: 20
            spacing: 6
            Spinner { Layout.alignment: Qt.AlignHCenter; size: 18 }
            UiText {
                Layout.alignment: Qt.AlignHCenter
                text: "Fetching deeper history…"
                size: 12
                font.weight: Font.Medium
            }
            UiText {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: "Stripe events expire at 30 days. Pulling 30-90 day data via charges API."
                size: 10
                color: Appearance.secondary
            }
        }

        RowLayout {
            visible: !pane.dashboard.isRangeDataIncomplete
            Layout.fillWidth: true
            spacing: 8
            Repeater {
                model: pane.dashboard.tiles
                delegate: Clickable {
                    id: tile
                    objectName: "tile"
                    ringRadius: 8
                    required property string kind
                    required property string name
                    required property string value
                    required property color color
                    required property bool unavailable
                    required property bool loading
                    required property string tooltip
                    Layout.fillWidth: true
                    Layout.preferredWidth: 1
                    implicitHeight: 50
                    hoverEnabled: true
                    onClicked: pane.navigation.showDrillDown(kind)
                    ToolTip.visible: hovered
                    ToolTip.text: tooltip
                    ToolTip.delay: 600
                    background: Rectangle {
                        radius: 8
                        color: tile.hovered ? Appearance.control : "transparent"
                        border.color: Appearance.hairline
                    }
                    contentItem: ColumnLayout {
                        spacing: 3
                        RowLayout {
                            Layout.leftMargin: 10
                            spacing: 5
                            Rectangle { width: 5; height: 5; radius: 2.5; color: tile.color }
                            UiText {
                                text: tile.name
                                size: 9
                                font.letterSpacing: 1.2
                                color: Appearance.secondary
                            }
                        }
                        Spinner {
                            visible: tile.loading
                            Layout.leftMargin: 10
                            size: 13
                        }
                        RowLayout {
                            visible: !tile.loading
                            Layout.leftMargin: 10
                            spacing: 4
                            UiText {
                                text: tile.value
                                size: 13
                                font.weight: Font.DemiBold
                                color: tile.unavailable ? Appearance.secondary : tile.color
                            }
                            Symbol {
                                visible: tile.unavailable
                                name: "exclamationmark.circle.fill"
                                size: 11
                                color: Appearance.orange
                                HoverHandler { id: warningHover }
                                ToolTip.visible: warningHover.hovered
                                ToolTip.text: "Data not loaded — fetch failed for this metric"
                            }
                        }
                    }
                }
            }
        }

        RevenueChartView {
                    objectName: "revenueChart"
            visible: !pane.dashboard.isRangeDataIncomplete
            Layout.fillWidth: true
                    // Gives way on a short screen, down to a strip that still shows the trend.
                    Layout.fillHeight: true
                    Layout.minimumHeight: 64
                    Layout.preferredHeight: 140
                    Layout.maximumHeight: 140
            model: pane.dashboard.chart
        }

        RowLayout {
            visible: !pane.dashboard.isRangeDataIncomplete && pane.dashboard.rangeHasHistoricalLimit
            Layout.fillWidth: true
            spacing: 5
            Symbol { Layout.alignment: Qt.AlignTop; name: "info.circle"; size: 10; color: Appearance.secondary }
            UiText {
                Layout.fillWidth: true
                wrapMode: Text.WordWrap
                text: "Older than 30 days: bars show total revenue but new/recurring/churn breakdown is incomplete (Stripe API doesn't expose historical classification or churn events)."
                size: 10
                color: Appearance.secondary
            }
        }

        Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline }

        RowLayout {
            spacing: 4
            UiText { text: "Recent"; size: 12; font.weight: Font.DemiBold }
            UiText { text: "(" + pane.dashboard.feedCount + ")"; size: 12; color: Appearance.secondary }
        }
        UiText {
            visible: pane.dashboard.feedCount === 0
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.minimumHeight: 48
            Layout.preferredHeight: 200
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            text: pane.dashboard.feedEmptyText
            size: 12
            color: Appearance.secondary
        }
        ListView {
            id: feedList
            visible: pane.dashboard.feedCount > 0
            Layout.fillWidth: true
            // Takes what the screen leaves once header and footer have their room, and scrolls.
            Layout.fillHeight: true
                    Layout.minimumHeight: Math.min(contentHeight, 110)
            Layout.preferredHeight: Math.min(contentHeight, 340)
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: pane.dashboard.feed
            ScrollBar.vertical: ScrollBar { policy: ScrollBar.AsNeeded }
            delegate: FeedRow {
                feed: pane.dashboard.feed
                onOpenLink: link => pane.openLink(link)
            }
        }
    }
        }
    }

    UiText {
        visible: text.length > 0
        Layout.fillWidth: true
        text: pane.dashboard.notesText
        size: 9
        color: Appearance.secondary
        wrapMode: Text.Wrap
        elide: Text.ElideNone
    }

    // Footer.
    RowLayout {
        Layout.fillWidth: true
        spacing: 2
        Item { Layout.fillWidth: true }
        IconButton {
            visible: pane.dashboard.hasAtRisk
            symbol: "exclamationmark.triangle.fill"
            tint: Appearance.orange
            tip: pane.dashboard.atRiskTooltip
            onClicked: pane.navigation.showAtRisk()
        }
        IconButton {
            symbol: "arrow.clockwise"
            tip: "Refresh now"
            enabled: !pane.dashboard.isLoading
            onClicked: pane.dashboard.refresh()
        }
        IconButton {
            symbol: "trophy.fill"
            tip: "Achievements"
            onClicked: pane.navigation.showAchievements()
        }
        IconButton {
            symbol: pane.dashboard.privacySymbol
            tip: pane.dashboard.privacyTooltip
            onClicked: pane.dashboard.togglePrivacy()
        }
        IconButton {
            objectName: "settingsButton"
            symbol: "gearshape"
            tip: "Settings"
            onClicked: pane.navigation.showSettings("general")
        }
        IconButton {
            symbol: "power"
            tip: "Quit Quorvane"
            onClicked: pane.quitRequested()
        }
    }
}
