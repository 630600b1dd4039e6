import QtQuick
import Quorvane
import QtQuick.Window

// The panel window: frameless, on top, 440 wide; its height follows the pane.
Window {
    id: window
    required property QuorvaneApp app

    flags: Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: 440
    minimumWidth: 440
    maximumWidth: 440
    height: content.implicitHeight + 28
    color: Appearance.window
    title: "Quorvane"
    visible: false

    Item {
        id: content
        x: 14
        y: 14
        width: window.width - 28
        // The settings panel has a fixed height and scrolls; the other panes size to content.
        implicitHeight: window.app.navigation.pane === "settings" && !window.app.update.isBlocked
                        ? 460 : (loader.item ? loader.item.implicitHeight : 0)

        Loader {
            id: loader
            anchors.fill: parent
            // Panes of later releases (drill-down, at-risk, achievements) keep the
            // navigation value and show the dashboard meanwhile.
            // While this version is blocked nothing but the update-required view is reachable.
            sourceComponent: window.app.update.isBlocked ? updateRequired
                             : window.app.navigation.pane === "settings" ? settingsPane : dashboardPane
        }
    }

    Component {
        id: updateRequired
        UpdateRequiredView {
            objectName: "updateRequiredView"
            update: window.app.update
            onQuitRequested: window.app.quit()
            onOpenLink: link => window.app.openUrl(link)
        }
    }
    Component {
        id: dashboardPane
        DashboardPane {
            update: window.app.update
            dashboard: window.app.dashboard
            navigation: window.app.navigation
            onQuitRequested: window.app.quit()
            onOpenLink: link => window.app.openUrl(link)
        }
    }
    Component {
        id: settingsPane
        SettingsPanel {
            update: window.app.update
            navigation: window.app.navigation
            general: window.app.general
            accounts: window.app.accounts
            onQuitRequested: window.app.quit()
            onOpenLink: link => window.app.openUrl(link)
        }
    }
}
