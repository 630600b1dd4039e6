import QtQuick
import Quorvane

// The stacked daily chart: new and recurring above zero, churn below. Hovering a day shows
// its date and three figures.
RevenueChart {
    id: chart
    implicitHeight: 140
    textColor: Appearance.secondary
    gridColor: Appearance.hairline
    font.family: Appearance.fontFamily
    font.pixelSize: 9
    hoveredDay: hover.hovered ? chart.dayAt(hover.point.position.x) : -1

    HoverHandler { id: hover }

    Rectangle {
        visible: chart.hoveredDay >= 0
        readonly property real wanted: hover.point.position.x + 12
        x: Math.min(wanted, chart.width - width)
        y: 0
        width: readout.implicitWidth + 14
        height: readout.implicitHeight + 10
        radius: 6
        color: Appearance.popup
        border.color: Appearance.hairline
        UiText {
            id: readout
            x: 7
            y: 5
            text: chart.hoveredDay >= 0 && chart.model ? chart.model.readout(chart.hoveredDay) : ""
            textFormat: Text.PlainText
            size: 10
            color: Appearance.popupText
        }
    }
}
