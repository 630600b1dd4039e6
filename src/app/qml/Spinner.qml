import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// The small progress indicator used in status lines.
BusyIndicator {
    property int size: 12
    implicitWidth: size
    implicitHeight: size
    padding: 0
    running: visible
    // The basic style draws its dots in the palette's dark role: tie it to readable text.
    palette.dark: Appearance.secondary
}
