import QtQuick
import Quorvane

// Interface text in the application's typeface.
Text {
    property int size: 13
    color: Appearance.primary
    font.pixelSize: size
    font.family: Appearance.fontFamily
    elide: Text.ElideRight
}
