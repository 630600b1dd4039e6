#include "PanelPlacement.h"

#include <algorithm>

QRect panelGeometry(const QRect &trayGeometry, const QPoint &clickPoint, const QSize &panelSize,
                    const QRect &availableGeometry, int gap)
{
    const QRect anchor = trayGeometry.isValid() && !trayGeometry.isEmpty() ? trayGeometry : QRect(clickPoint, QSize(1, 1));
    const QRect &area = availableGeometry;
    const QPoint centre(anchor.x() + anchor.width() / 2, anchor.y() + anchor.height() / 2);

    // Which screen edge the tray sits on decides the direction the panel opens in.
    const int toTop = std::abs(centre.y() - area.top());
    const int toBottom = std::abs(area.bottom() - centre.y());
    const int toLeft = std::abs(centre.x() - area.left());
    const int toRight = std::abs(area.right() - centre.x());
    const int nearest = std::min({toTop, toBottom, toLeft, toRight});

    QPoint topLeft;
    if (nearest == toTop) {
        topLeft = {centre.x() - panelSize.width() / 2, anchor.bottom() + 1 + gap};
    } else if (nearest == toBottom) {
        topLeft = {centre.x() - panelSize.width() / 2, anchor.top() - gap - panelSize.height()};
    } else if (nearest == toLeft) {
        topLeft = {anchor.right() + 1 + gap, centre.y() - panelSize.height() / 2};
    } else {
        topLeft = {anchor.left() - gap - panelSize.width(), centre.y() - panelSize.height() / 2};
    }

    // Keep the panel on the screen; a panel taller or wider than the area pins to its top-left.
    const int maxX = area.left() + std::max(0, area.width() - panelSize.width());
    const int maxY = area.top() + std::max(0, area.height() - panelSize.height());
    topLeft.setX(std::clamp(topLeft.x(), area.left(), maxX));
    topLeft.setY(std::clamp(topLeft.y(), area.top(), maxY));
    return QRect(topLeft, panelSize);
}
