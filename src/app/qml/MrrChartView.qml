import QtQuick
import Quorvane

// Twelve months of MRR: the line and the goal on top, the month's movements as bars below.
// Hovering a month shows its figures.
MrrChart {
    id: chart
    implicitHeight: 170
    textColor: Appearance.secondary
    gridColor: Appearance.hairline
    lineColor: Appearance.primary
    goalColor: Appearance.accent
    font.family: Appearance.fontFamily
    font.pixelSize: 9
    hoveredMonth: hover.hovered ? chart.monthAt(hover.point.position.x) : -1

    HoverHandler { id: hover }

    Rectangle {
        visible: chart.hoveredMonth >= 0
        readonly property real wanted: hover.point.position.x + 12
        // Beside the pointer, on its left once it passes the middle, so the month stays seen.
        x: wanted + width > chart.width ? Math.max(0, hover.point.position.x - 12 - width) : wanted
        y: 0
        z: 1
        width: readout.implicitWidth + 14
        height: readout.implicitHeight + 10
        radius: 6
        color: Appearance.popup
        border.color: Appearance.hairline
        UiText {
            id: readout
            x: 7
            y: 5
            text: chart.hoveredMonth >= 0 && chart.model ? chart.model.readout(chart.hoveredMonth) : ""
            size: 10
            color: Appearance.popupText
        }
    }
}
