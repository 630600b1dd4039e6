import QtQuick
import Quorvane
import QtQuick.Layouts

// Under the dashboard headline while a newer version exists; closing it lasts until the
// dashboard is shown again.
Rectangle {
    id: banner
    property UpdateModel update
    property bool dismissed: false
    signal openLink(url link)

    visible: update !== null && update.hasOptionalUpdate && !dismissed
    implicitHeight: visible ? row.implicitHeight + 16 : 0
    radius: 8
    color: Qt.rgba(Appearance.accent.r, Appearance.accent.g, Appearance.accent.b, 0.08)
    border.color: Qt.rgba(Appearance.accent.r, Appearance.accent.g, Appearance.accent.b, 0.25)

    RowLayout {
        id: row
        anchors.fill: parent
        anchors.margins: 8
        spacing: 8
        Symbol { name: "arrow.up.circle"; size: 16; color: Appearance.accent }
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 1
            UiText { Layout.fillWidth: true; text: banner.update ? banner.update.bannerText : ""; size: 11; textFormat: Text.PlainText }
            UiText {
                visible: text.length > 0
                Layout.fillWidth: true
                text: banner.update ? banner.update.releaseNotes : ""
                textFormat: Text.PlainText
                size: 10
                color: Appearance.secondary
            }
        }
        PushButton {
            visible: banner.update !== null && banner.update.hasDownload
            text: "Update"
            implicitHeight: 22
            onClicked: banner.openLink(banner.update.downloadUrl)
        }
        IconButton { symbol: "xmark"; symbolSize: 10; onClicked: banner.dismissed = true }
    }
}
