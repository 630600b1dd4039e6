import QtQuick
import Quorvane

// Interface text in the application's typeface. Plain text unless a use of our own asks
// otherwise: provider, customer and error texts must never be read as markup (an <img> in
// an invoice line would be fetched).
Text {
    textFormat: Text.PlainText
    property int size: 13
    color: Appearance.primary
    font.pixelSize: size
    font.family: Appearance.fontFamily
    elide: Text.ElideRight
}
