import QtQuick
import Quorvane

// A 2-px accent ring just outside its parent while `shown` (keyboard focus): drawn outside, so it
// shows on an accent-filled button as on a bare one.
Rectangle {
    property bool shown: false
    property real cornerRadius: 6
    property real outset: 3 // 0 where a clipping list would cut a ring drawn outside
    anchors.fill: parent
    anchors.margins: -outset
    radius: cornerRadius + outset
    z: 10
    visible: shown
    color: "transparent"
    border.width: 2
    border.color: Appearance.accent
}
