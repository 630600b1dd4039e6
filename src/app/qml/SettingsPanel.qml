import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Back button, the three tabs and the active tab's content in a scroll area, as tall as the tab
// needs where the screen has the room; the scroll bar shows whenever the tab does not fit.
ColumnLayout {
    id: panel
    required property Navigation navigation
    required property GeneralSettingsModel general
    required property AccountsModel accounts
    property UpdateModel update
    property string activeTab: navigation.settingsTab
    // The tab's width, clear of the scroll bar while it shows.
    readonly property real tabWidth: scroll.availableWidth - (scroll.ScrollBar.vertical.policy === ScrollBar.AlwaysOn ? 10 : 0)
    signal quitRequested()
    signal openLink(url link)

    spacing: 8

    BackButton { onClicked: panel.navigation.showDashboard() }

    RowLayout {
        Layout.fillWidth: true
        spacing: 6
        Repeater {
            model: [
                { tab: "general", label: "General", symbol: "slider.horizontal.3" },
                { tab: "accounts", label: "Accounts", symbol: "key.fill" },
                { tab: "about", label: "About", symbol: "info.circle" }
            ]
            delegate: Clickable {
                id: tabButton
                required property var modelData
                readonly property bool active: panel.activeTab === modelData.tab
                Layout.fillWidth: true
                implicitHeight: 46
                onClicked: panel.activeTab = modelData.tab
                background: Rectangle {
                    radius: 8
                    color: tabButton.active ? Qt.rgba(Appearance.accent.r, Appearance.accent.g, Appearance.accent.b, 0.18) : "transparent"
                }
                contentItem: ColumnLayout {
                    spacing: 3
                    Symbol {
                        Layout.alignment: Qt.AlignHCenter
                        name: tabButton.modelData.symbol
                        size: 14
                        color: tabButton.active ? Appearance.accent : Appearance.secondary
                    }
                    UiText {
                        Layout.alignment: Qt.AlignHCenter
                        text: tabButton.modelData.label
                        size: 10
                        font.weight: Font.Medium
                        color: tabButton.active ? Appearance.accent : Appearance.secondary
                    }
                }
            }
        }
    }

    Rectangle { Layout.fillWidth: true; height: 1; color: Appearance.hairline }

    ScrollView {
        id: scroll
        objectName: "settingsScroll"
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumHeight: 80
        Layout.preferredHeight: contentHeight
        contentWidth: availableWidth
        clip: true
        ScrollBar.vertical.policy: contentHeight > availableHeight ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff

        Loader {
            width: panel.tabWidth
            sourceComponent: panel.activeTab === "accounts" ? accountsTab : panel.activeTab === "about" ? aboutTab : generalTab
        }
    }

    Component {
        id: generalTab
        GeneralPane {
            width: panel.tabWidth
            settings: panel.general
            onQuitRequested: panel.quitRequested()
        }
    }
    Component {
        id: accountsTab
        AccountsPane {
            width: panel.tabWidth
            accounts: panel.accounts
            onOpenLink: link => panel.openLink(link)
        }
    }
    Component {
        id: aboutTab
        AboutPane { width: panel.tabWidth; update: panel.update }
    }
}
