import QtQuick
import Quorvane
import QtQuick.Layouts

ColumnLayout {
    id: about
    property UpdateModel update
    spacing: 8
    Item { Layout.preferredHeight: 16 }
    Symbol { Layout.alignment: Qt.AlignHCenter; name: "chart.line.uptrend.xyaxis"; size: 36; color: Appearance.newColor }
    UiText { Layout.alignment: Qt.AlignHCenter; text: "Quorvane"; size: 18; font.bold: true }
    UiText {
        Layout.alignment: Qt.AlignHCenter
        text: about.update ? about.update.versionText : ""
        size: 12
        color: Appearance.secondary
    }
    UiText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        text: "Real-time MRR tracker for Stripe + PayPal.\nSeparates new revenue, recurring, and churn so you see the actual movers."
        size: 11
        color: Appearance.secondary
    }
    RowLayout {
        visible: about.update !== null
        Layout.alignment: Qt.AlignHCenter
        Layout.topMargin: 8
        spacing: 6
        Symbol {
            name: about.update ? about.update.statusSymbol : ""
            size: 12
            color: about.update && about.update.hasOptionalUpdate ? Appearance.accent : Appearance.secondary
        }
        UiText { text: about.update ? about.update.statusText : ""; size: 11; color: Appearance.secondary; textFormat: Text.PlainText }
    }
}
