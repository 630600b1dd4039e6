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
            PushButton {
                id: addButton
                objectName: "addAccount"
                text: "Add account"
                onClicked: addMenu.open()
                Menu {
                    id: addMenu
                    // Opens leftwards from the button's right edge, inside the panel.
                    x: addButton.width - width
                    y: addButton.height + 2
                    MenuItem { text: "Stripe account"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("stripe") }
                    MenuItem { text: "PayPal account"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("paypal") }
                    MenuItem { text: "Demo business"; font.family: Appearance.fontFamily; onTriggered: pane.accounts.addAccount("demo") }
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
                text: "Use Add account to connect a Stripe restricted key or PayPal API credentials."
                size: 11
                color: Appearance.secondary
            }
        }

        Repeater {
            model: pane.accounts
            delegate: ColumnLayout {
                id: accountRow
                required property int index
                required property string name
                required property string provider
                required property string providerSymbol
                required property bool needsEventsScope
                required property bool accountEnabled
                required property string iconSource
                required property bool isDemo
                required property bool removalPending
                Layout.fillWidth: true
                spacing: 6

                RowLayout {
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
                    IconButton {
                        objectName: "removeAccount"
                        symbol: "trash"
                        symbolSize: 12
                        tip: "Remove…"
                        onClicked: pane.accounts.askToRemove(accountRow.index)
                    }
                }
                // The key goes with the account: nothing is deleted until this is answered.
                Rectangle {
                    visible: accountRow.removalPending
                    Layout.fillWidth: true
                    implicitHeight: confirmColumn.implicitHeight + 16
                    radius: 8
                    color: Qt.rgba(Appearance.red.r, Appearance.red.g, Appearance.red.b, 0.08)
                    border.color: Qt.rgba(Appearance.red.r, Appearance.red.g, Appearance.red.b, 0.35)
                    ColumnLayout {
                        id: confirmColumn
                        x: 10
                        y: 8
                        width: parent.width - 20
                        spacing: 6
                        UiText {
                            Layout.fillWidth: true
                            wrapMode: Text.Wrap
                            textFormat: Text.PlainText
                            text: pane.accounts.removalQuestion
                            size: 11
                        }
                        RowLayout {
                            spacing: 8
                            PushButton {
                                objectName: "confirmRemoval"
                                text: "Remove"
                                prominent: true
                                destructive: true
                                onClicked: pane.accounts.confirmRemoval()
                            }
                            PushButton {
                                id: keepButton
                                text: "Cancel"
                                onClicked: pane.accounts.cancelRemoval()
                                Keys.onEscapePressed: pane.accounts.cancelRemoval()
                            }
                        }
                        // Cancel is the safe default for the keyboard as well.
                        Component.onCompleted: if (accountRow.removalPending) keepButton.forceActiveFocus()
                    }
                }
            }
        }
    }
}
