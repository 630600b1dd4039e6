import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The list of connected accounts, or the editor while one is edited.
ColumnLayout {
    id: pane
    required property AccountsModel accounts
    signal openLink(url link)
    spacing: 8

    Loader {
        Layout.fillWidth: true
        active: pane.accounts.editor !== null
        visible: active
        sourceComponent: AccountEditorView {
            editor: pane.accounts.editor
            onOpenLink: link => pane.openLink(link)
        }
    }

    ColumnLayout {
        visible: pane.accounts.editor === null
        Layout.fillWidth: true
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            UiText { Layout.fillWidth: true; text: "Connected accounts"; size: 12; font.weight: Font.DemiBold }
            IconButton {
                id: addButton
                symbol: "plus"
                symbolSize: 12
                onClicked: addMenu.open()
                Menu {
                    id: addMenu
                    y: addButton.height
                    MenuItem { text: "Add Stripe account"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("stripe") }
                    MenuItem { text: "Add PayPal account"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("paypal") }
                    MenuItem { text: "Add demo business"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("demo") }
                }
            }
        }

        ColumnLayout {
            visible: pane.accounts.isEmpty
            Layout.fillWidth: true
            Layout.topMargin: 16
            spacing: 6
            Symbol { Layout.alignment: Qt.AlignHCenter; name: "key.slash"; size: 22; color: Appearance.secondary }
            UiText { Layout.alignment: Qt.AlignHCenter; text: "No accounts yet."; size: 12 }
            UiText {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                text: "Use the + button to add a Stripe restricted key or PayPal API credentials."
                size: 11
                color: Appearance.secondary
            }
        }

        Repeater {
            model: pane.accounts
            delegate: RowLayout {
                id: accountRow
                required property int index
                required property string name
                required property string provider
                required property string providerSymbol
                required property bool needsEventsScope
                required property bool accountEnabled
                required property string iconSource
                required property bool isDemo
                Layout.fillWidth: true
                spacing: 8

                Rectangle {
                    width: 24
                    height: 24
                    radius: 6
                    color: Appearance.control
                    Symbol {
                        visible: accountRow.iconSource.length === 0 || accountIcon.status === Image.Error
                        anchors.centerIn: parent
                        name: accountRow.providerSymbol
                        size: 16
                        color: accountRow.isDemo ? Appearance.newColor : accountRow.provider === "Stripe" ? Appearance.stripePurple : Appearance.paypalBlue
                    }
                    Image {
                        id: accountIcon
                        visible: accountRow.iconSource.length > 0 && status !== Image.Error
                        anchors.fill: parent
                        source: accountRow.iconSource
                        sourceSize: Qt.size(48, 48)
                    }
                }
                ColumnLayout {
                    spacing: 1
                    UiText { text: accountRow.name; size: 12; Layout.maximumWidth: 220 }
                    RowLayout {
                        spacing: 4
                        UiText { text: accountRow.provider; size: 9; color: Appearance.secondary }
                        UiText {
                            visible: accountRow.needsEventsScope
                            text: "• needs Events scope for churn"
                            size: 9
                            color: Appearance.orange
                        }
                    }
                }
                Item { Layout.fillWidth: true }
                SettingRow {
                    Layout.fillWidth: false
                    checked: accountRow.accountEnabled
                    onToggled: v => pane.accounts.setEnabled(accountRow.index, v)
                }
                IconButton {
                    visible: !accountRow.isDemo
                    symbol: "pencil"
                    symbolSize: 12
                    onClicked: pane.accounts.edit(accountRow.index)
                }
                IconButton { symbol: "trash"; symbolSize: 12; onClicked: pane.accounts.remove(accountRow.index) }
            }
        }
    }
}
