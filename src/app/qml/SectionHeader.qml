import QtQuick
import Quorvane
import QtQuick.Layouts

UiText {
    Layout.topMargin: 6
    size: 10
    font.weight: Font.DemiBold
    font.capitalization: Font.AllUppercase
    font.letterSpacing: 0.8
    color: Appearance.secondary
}
