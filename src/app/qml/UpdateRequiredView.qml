import QtQuick
import Quorvane
import QtQuick.Layouts

// Replaces the whole panel while this version may no longer be used; the only ways out are
// updating and quitting.
ColumnLayout {
    id: view
    required property UpdateModel update
    signal quitRequested()
    signal openLink(url link)

    spacing: 14

    Item { Layout.preferredHeight: 6 }
    Symbol { Layout.alignment: Qt.AlignHCenter; name: "arrow.up.circle.fill"; size: 40; color: Appearance.accent }
    UiText { Layout.alignment: Qt.AlignHCenter; text: "Update required"; size: 16; font.weight: Font.DemiBold }
    UiText {
        Layout.alignment: Qt.AlignHCenter
        Layout.preferredWidth: 320
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        textFormat: Text.PlainText
        text: view.update.blockingText
        size: 12
        color: Appearance.secondary
    }
    UiText { Layout.alignment: Qt.AlignHCenter; text: view.update.currentVersionText; size: 12; color: Appearance.secondary }
    UiText {
        visible: view.update.releaseNotes.length > 0
        Layout.alignment: Qt.AlignHCenter
        Layout.preferredWidth: 320
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        textFormat: Text.PlainText
        text: view.update.releaseNotes
        size: 11
        color: Appearance.secondary
    }
    PushButton {
        Layout.alignment: Qt.AlignHCenter
        prominent: true
        text: view.update.downloadButtonText
        onClicked: if (view.update.hasDownload) view.openLink(view.update.downloadUrl)
    }
    PushButton {
        Layout.alignment: Qt.AlignHCenter
        text: "Quit"
        onClicked: view.quitRequested()
    }
    Item { Layout.preferredHeight: 6 }
}
