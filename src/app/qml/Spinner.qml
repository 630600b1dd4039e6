import QtQuick
import QtQuick.Shapes
import Quorvane

// The small progress indicator of status lines: a three-quarter ring in the secondary text
// colour, turning, so it reads on both themes at any size.
Item {
    id: root
    property int size: 12
    readonly property real stroke: Math.max(1.5, size / 8)
    implicitWidth: size
    implicitHeight: size

    Shape {
        anchors.fill: parent
        // Smooth edges at a few pixels across.
        layer.enabled: true
        layer.samples: 4
        ShapePath {
            strokeColor: Appearance.secondary
            strokeWidth: root.stroke
            fillColor: "transparent"
            capStyle: ShapePath.RoundCap
            PathAngleArc {
                centerX: root.size / 2
                centerY: root.size / 2
                radiusX: (root.size - root.stroke) / 2
                radiusY: (root.size - root.stroke) / 2
                startAngle: 0
                sweepAngle: 270
            }
        }
        RotationAnimator on rotation {
            from: 0
            to: 360
            duration: 900
            loops: Animation.Infinite
            running: root.visible
        }
    }
}
