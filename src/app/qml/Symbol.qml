import QtQuick
import Quorvane

// One icon of the bundled set, drawn at its size in one colour.
Image {
    id: root
    property string name
    property color color: Appearance.primary
    property int size: 14

    width: size
    height: size
    sourceSize.width: size * Screen.devicePixelRatio
    sourceSize.height: size * Screen.devicePixelRatio
    source: name.length > 0 ? "image://symbol/" + name + "?color=" + encodeURIComponent(color.toString()) : ""
    fillMode: Image.PreserveAspectFit
    smooth: true
}
