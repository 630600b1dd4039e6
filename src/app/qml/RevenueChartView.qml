import QtQuick
import Quorvane

// The stacked daily chart: new and recurring above zero, churn below.
RevenueChart {
    implicitHeight: 140
    height: 140
    textColor: Appearance.secondary
    gridColor: Appearance.hairline
    font.family: Appearance.fontFamily
    font.pixelSize: 9
}
