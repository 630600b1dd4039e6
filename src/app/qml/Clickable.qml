import QtQuick
import Quorvane
import QtQuick.Controls.Basic

// The base of every button of the panel: reached by Tab, ringed while it has keyboard focus, and
// activated by Enter as well as Space.
AbstractButton {
    id: control
    property alias ringRadius: ring.cornerRadius
    property alias ringOutset: ring.outset
    focusPolicy: Qt.StrongFocus
    Keys.onReturnPressed: control.clicked()
    Keys.onEnterPressed: control.clicked()
    FocusRing {
        id: ring
        shown: control.visualFocus
    }
}
