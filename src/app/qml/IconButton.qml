import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// A borderless button showing one symbol, with an optional tooltip.
Clickable {
    id: root
    property string symbol
    property color tint: Appearance.secondary
    property int symbolSize: 14
    property string tip

    implicitWidth: symbolSize + 12
    implicitHeight: symbolSize + 12
    hoverEnabled: true
    opacity: enabled ? 1 : 0.35

    background: Rectangle {
        radius: 6
        color: root.hovered ? Appearance.control : "transparent"
    }
    contentItem: Item {
        Symbol {
            anchors.centerIn: parent
            name: root.symbol
            size: root.symbolSize
            color: root.tint
        }
    }
    ToolTip.visible: tip.length > 0 && hovered
    ToolTip.text: tip
    ToolTip.delay: 500
}
