import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// The in-place editor of one account's working copy.
ColumnLayout {
    id: view
    required property AccountEditor editor
    signal openLink(url link)
    spacing: 8
    // Keys no control inside used: Enter saves the form, Esc is Cancel (and keeps the panel open).
    Keys.onReturnPressed: if (view.editor.isValid) view.editor.save()
    Keys.onEnterPressed: if (view.editor.isValid) view.editor.save()
    Keys.onEscapePressed: view.editor.cancel()

    RowLayout {
        Layout.fillWidth: true
        spacing: 8
        Rectangle {
            width: 28
            height: 28
            radius: 7
            readonly property color tint: view.editor.isStripe ? Appearance.stripePurple : Appearance.paypalBlue
            color: Qt.rgba(tint.r, tint.g, tint.b, 0.15)
            UiText {
                anchors.centerIn: parent
                text: view.editor.badgeLetter
                size: 16
                font.bold: true
                color: parent.tint
            }
        }
        UiText {
            Layout.fillWidth: true
            text: view.editor.titleText
            size: 13
            font.weight: Font.DemiBold
        }
        IconButton { symbol: "xmark"; symbolSize: 11; onClicked: view.editor.cancel() }
    }

    RowLayout {
        spacing: 8
        UiText { text: "Provider"; size: 11; color: Appearance.secondary }
        ChoiceBox {
            Layout.preferredWidth: 140
            model: view.editor.providerLabels
            currentIndex: view.editor.providerIndex
            onActivated: index => view.editor.providerIndex = index
        }
    }

    Field {
        Layout.fillWidth: true
        placeholderText: "Display name"
        text: view.editor.name
        onTextEdited: view.editor.name = text
    }
    Field {
        Layout.fillWidth: true
        placeholderText: "Website (optional, for the icon)"
        text: view.editor.website
        onTextEdited: view.editor.website = text
    }

    ColumnLayout {
        visible: view.editor.isStripe
        Layout.fillWidth: true
        spacing: 6
        UiText { text: "Stripe API key"; size: 11; color: Appearance.secondary }
        Field {
            Layout.fillWidth: true
            secret: true
            monospaced: true
            placeholderText: "rk_live_..."
            text: view.editor.stripeRestrictedKey
            onTextEdited: view.editor.stripeRestrictedKey = text
        }
        Clickable {
            implicitWidth: linkRow.implicitWidth
            implicitHeight: 18
            onClicked: view.openLink(view.editor.stripeCreateUrl)
            contentItem: RowLayout {
                id: linkRow
                spacing: 4
                Symbol { name: "arrow.up.right.square"; size: 12; color: Appearance.accent }
                UiText { text: "Create a restricted key: read access, plus invoice retries."; size: 11; color: Appearance.accent }
            }
        }
        UiText { text: "1. Scroll down and click 'Create key'"; size: 10; color: Appearance.secondary }
        UiText { text: "2. Don't change the permissions"; size: 10; color: Appearance.secondary }
        UiText { text: "3. Don't delete the key or we can't refresh revenue"; size: 10; color: Appearance.secondary }
    }

    ColumnLayout {
        visible: !view.editor.isStripe
        Layout.fillWidth: true
        spacing: 6
        Field {
            Layout.fillWidth: true
            monospaced: true
            placeholderText: "Client ID"
            text: view.editor.paypalClientId
            onTextEdited: view.editor.paypalClientId = text
        }
        Field {
            Layout.fillWidth: true
            secret: true
            monospaced: true
            placeholderText: "Secret"
            text: view.editor.paypalSecret
            onTextEdited: view.editor.paypalSecret = text
        }
        ChoiceBox {
            Layout.preferredWidth: 180
            model: view.editor.environmentLabels
            currentIndex: view.editor.environmentIndex
            onActivated: index => view.editor.environmentIndex = index
        }
        UiText {
            Layout.fillWidth: true
            wrapMode: Text.WordWrap
            textFormat: Text.MarkdownText
            text: view.editor.paypalHelpText
            size: 10
            color: Appearance.secondary
            linkColor: Appearance.accent
            onLinkActivated: link => view.openLink(link)
        }
        UiText { text: "Enable: Transaction Search feature on the app."; size: 10; color: Appearance.secondary }
    }

    SettingRow {
        title: "Enabled"
        checked: view.editor.enabled
        onToggled: v => view.editor.enabled = v
    }
    UiText {
        Layout.fillWidth: true
        visible: text.length > 0
        text: view.editor.storageNote
        wrapMode: Text.WordWrap
        size: 10
        color: Appearance.secondary
    }

    RowLayout {
        Layout.fillWidth: true
        spacing: 8
        UiText {
            Layout.fillWidth: true
            text: view.editor.invalidReason
            wrapMode: Text.WordWrap
            size: 10
            color: Appearance.secondary
        }
        PushButton {
            text: "Cancel"
            onClicked: view.editor.cancel()
        }
        PushButton {
            text: "Save"
            enabled: view.editor.isValid
            prominent: true
            onClicked: view.editor.save()
        }
    }
}
