import QtQuick
import Quorvane
import QtQuick.Controls.Basic
import QtQuick.Layouts

// "‹ Dashboard": the way back from every other pane.
Clickable {
    id: root
    implicitWidth: row.implicitWidth + 8
    implicitHeight: 22
    hoverEnabled: true
    background: Rectangle { radius: 5; color: root.hovered ? Appearance.control : "transparent" }
    contentItem: RowLayout {
        id: row
        spacing: 3
        Symbol { name: "chevron.left"; size: 11; color: Appearance.accent }
        UiText { text: "Dashboard"; size: 11; font.weight: Font.Medium; color: Appearance.accent }
    }
}
