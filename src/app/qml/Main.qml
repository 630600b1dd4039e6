import QtQuick
import Quorvane
import QtQuick.Window
import QtQuick.Controls.Basic

// The panel window: frameless, on top, 440 wide; its height follows the pane up to what the
// screen has room for. Where no tray host shows the item it is an ordinary, framed window. Where a compositor runs, the panel has rounded corners and a soft
// shadow in a transparent margin; elsewhere it is a plain rectangle with a hairline border.
Window {
    id: window
    required property QuorvaneApp app
    readonly property int margin: app.frameMargin

    flags: app.windowed ? Qt.Window : Qt.Tool | Qt.FramelessWindowHint | Qt.WindowStaysOnTopHint
    width: 440 + 2 * margin
    minimumWidth: width
    maximumWidth: width
    height: Math.min(content.implicitHeight + 28 + 2 * margin, app.maxPanelHeight)
    color: margin > 0 ? "transparent" : Appearance.window
    title: "Quorvane"
    visible: false

    // Every menu, picker list and tooltip of the panel draws from this one palette, so they
    // all share the range menu's look in either theme.
    palette.window: Appearance.popup
    palette.windowText: Appearance.primary
    palette.base: Appearance.popup
    palette.text: Appearance.primary
    palette.button: Appearance.control
    palette.buttonText: Appearance.primary
    palette.highlight: Appearance.accent
    palette.highlightedText: "white"
    palette.light: Appearance.control
    palette.midlight: Appearance.hairline
    palette.mid: Appearance.hairline
    palette.dark: Appearance.hairline
    palette.shadow: "black"
    palette.toolTipBase: Appearance.popup
    palette.toolTipText: Appearance.primary
    palette.placeholderText: Appearance.tertiary

    // Tooltips keep clear of the shadow's transparent margin, inside the panel the user sees.
    Binding {
        target: frame.ToolTip.toolTip
        property: "margins"
        value: window.margin + 6
    }

    // The shadow: stacked outlines fading outwards.
    Repeater {
        model: window.margin > 0 ? 8 : 0
        Rectangle {
            required property int index
            x: window.margin - index - 1
            y: window.margin - index + 1
            width: frame.width + 2 * (index + 1)
            height: frame.height + 2 * (index + 1)
            radius: frame.radius + index + 1
            color: "transparent"
            border.color: Qt.rgba(0, 0, 0, 0.10 - index * 0.012)
            border.width: 1
        }
    }

    Rectangle {
        id: frame
        x: window.margin
        y: window.margin
        width: 440
        height: window.height - 2 * window.margin
        radius: window.margin > 0 ? 10 : 0
        color: Appearance.window
        border.color: Appearance.hairline
        border.width: 1

        Item {
            id: content
            x: 14
            y: 14
            width: frame.width - 28
            height: frame.height - 28
            // Every pane sizes to its content up to what the screen has room for; then the
            // dashboard's body and the settings' tab scroll.
            // Settings keep at least 460, so switching to a short tab does not make it jump.
            implicitHeight: !loader.item ? 0 : window.app.navigation.pane === "settings" && !window.app.update.isBlocked
                            ? Math.max(460, loader.item.implicitHeight) : loader.item.implicitHeight

            Loader {
                id: loader
                anchors.fill: parent
                // While this version is blocked nothing but the update-required view is reachable.
                sourceComponent: {
                    if (window.app.update.isBlocked)
                        return updateRequired
                    switch (window.app.navigation.pane) {
                    case "settings": return settingsPane
                    case "achievements": return achievementsPane
                    case "drillDown": return drillDownPane
                    case "atRisk": return atRiskPane
                    case "mrr": return mrrPane
                    default: return dashboardPane
                    }
                }
            }
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
            mrr: window.app.mrr
            navigation: window.app.navigation
            onQuitRequested: window.app.quit()
            onOpenLink: link => window.app.openUrl(link)
        }
    }
    Component {
        id: achievementsPane
        AchievementsPane {
            model: window.app.achievements
            navigation: window.app.navigation
        }
    }
    Component {
        id: drillDownPane
        DrillDownPane {
            model: window.app.drillDown
            navigation: window.app.navigation
            onOpenLink: link => window.app.openUrl(link)
        }
    }
    Component {
        id: atRiskPane
        AtRiskPane {
            model: window.app.atRisk
            navigation: window.app.navigation
            onOpenLink: link => window.app.openUrl(link)
        }
    }
    Component {
        id: mrrPane
        MrrPane {
            model: window.app.mrr
            navigation: window.app.navigation
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
