#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>

// Where the panel opens: under a tray item at the top of the screen, above one at the bottom,
// beside one on a left or right panel; always inside the screen's available area. The tray
// geometry may be empty (hosts that report only the click point); then the click point stands
// for a one-pixel tray item. The height is capped to the available area.
QRect panelGeometry(const QRect &trayGeometry, const QPoint &clickPoint, const QSize &panelSize,
                    const QRect &availableGeometry, int gap = 4);
