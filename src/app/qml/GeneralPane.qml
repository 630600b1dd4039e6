import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Every preference except the dashboard's own range, filter and privacy switches.
ColumnLayout {
    id: pane
    required property GeneralSettingsModel settings
    signal quitRequested()
    spacing: 8

    SectionHeader { text: "Display events" }
    SettingRow { title: "Captured payments"; checked: pane.settings.showCaptured; onToggled: v => pane.settings.showCaptured = v }
    SettingRow {
        title: "Failed payments"
        note: "* not yet available on PayPal accounts"
        checked: pane.settings.showFailed
        onToggled: v => pane.settings.showFailed = v
    }
    SettingRow { title: "Refunds"; checked: pane.settings.showRefunds; onToggled: v => pane.settings.showRefunds = v }
    // No switch for payouts: no account produces payout events, and a switch that changes
    // nothing would only mislead.
    SettingRow { title: "New subscriptions"; checked: pane.settings.showNewSubscriptions; onToggled: v => pane.settings.showNewSubscriptions = v }
    SettingRow { title: "Canceled subscriptions"; checked: pane.settings.showCanceledSubscriptions; onToggled: v => pane.settings.showCanceledSubscriptions = v }

    SettingRow {
        Layout.topMargin: 6
        title: "Show notifications"
        checked: pane.settings.showNotifications
        onToggled: v => pane.settings.showNotifications = v
    }
    // The sound comes with a sale's notification, so the desktop's do-not-disturb mutes it.
    SettingRow {
        title: "Sale sound"
        enabled: pane.settings.showNotifications
        checked: pane.settings.saleSound
        onToggled: v => pane.settings.saleSound = v
    }

    SectionHeader { text: "Monthly recurring revenue" }
    SettingRow {
        title: "Show MRR in the tray"
        note: "Instead of the range's revenue; the tooltip always has both."
        checked: pane.settings.trayShowsMrr
        onToggled: v => pane.settings.trayShowsMrr = v
    }
    SettingRow {
        title: "Count trials"
        note: "Trialing subscriptions count towards MRR."
        checked: pane.settings.mrrCountsTrials
        onToggled: v => pane.settings.mrrCountsTrials = v
    }

    SectionHeader { text: "Dashboard currency" }
    ComboBox {
        id: currency
        Layout.preferredWidth: 240
        implicitHeight: 26
        model: pane.settings.currencyLabels
        currentIndex: pane.settings.currencyIndex
        onActivated: index => pane.settings.currencyIndex = index
        font.family: Appearance.fontFamily
        font.pixelSize: 12
        contentItem: UiText {
            leftPadding: 8
            text: currency.displayText
            size: 12
            verticalAlignment: Text.AlignVCenter
        }
        background: Rectangle {
            radius: 6
            color: Appearance.control
            border.width: currency.visualFocus ? 2 : 0
            border.color: Appearance.accent
        }
    }
    UiText { text: "Static rates for v1. Used to normalize totals across accounts."; size: 10; color: Appearance.tertiary }

    SectionHeader { text: "Refresh interval" }
    RowLayout {
        spacing: 8
        UiText { text: pane.settings.refreshLabel; size: 12 }
        Stepper {
            spacing: 4
            canDecrease: pane.settings.canStepDown
            canIncrease: pane.settings.canStepUp
            onDecreased: pane.settings.stepRefresh(-1)
            onIncreased: pane.settings.stepRefresh(1)
        }
    }

    SectionHeader { text: "Theme" }
    SettingRow { title: "Enable dark mode."; checked: pane.settings.darkMode; onToggled: v => pane.settings.darkMode = v }

    SectionHeader { text: "Start automatically" }
    SettingRow { title: "Launch on system startup."; checked: pane.settings.startAtLogin; onToggled: v => pane.settings.startAtLogin = v }

    Clickable {
        Layout.topMargin: 8
        implicitWidth: quitRow.implicitWidth + 16
        implicitHeight: 24
        hoverEnabled: true
        onClicked: pane.quitRequested()
        background: Rectangle {
            radius: 6
            color: parent.hovered ? Qt.darker(Appearance.control, 1.4) : Appearance.control
        }
        contentItem: RowLayout {
            id: quitRow
            spacing: 5
            Symbol { name: "power"; size: 11 }
            UiText { text: "Quit the app"; size: 11 }
        }
    }
}
