#include "PanelPlacement.h"

#include <algorithm>

QRect panelGeometry(const QRect &trayGeometry, const QPoint &clickPoint, const QSize &wantedSize,
                    const QRect &availableGeometry, int gap)
{
    // A panel never grows past the screen: its feed scrolls instead.
    const QSize panelSize(wantedSize.width(), std::min(wantedSize.height(), std::max(1, availableGeometry.height())));
    const QRect anchor = trayGeometry.isValid() && !trayGeometry.isEmpty() ? trayGeometry : QRect(clickPoint, QSize(1, 1));
    const QRect &area = availableGeometry;
    const QPoint centre(anchor.x() + anchor.width() / 2, anchor.y() + anchor.height() / 2);

    // Which screen edge the tray sits on decides the direction the panel opens in.
    const int toTop = std::abs(centre.y() - area.top());
    const int toBottom = std::abs(area.bottom() - centre.y());
    const int toLeft = std::abs(centre.x() - area.left());
    const int toRight = std::abs(area.right() - centre.x());
    // Top and bottom bars are the rule: an item in a screen corner sits in one of those, and
    // only an item well away from both is on a vertical bar beside the panel.
    const int vertical = std::min(toTop, toBottom);
    const bool beside = std::min(toLeft, toRight) < vertical && vertical > 100;

    QPoint topLeft;
    if (!beside && toTop <= toBottom) {
        topLeft = {centre.x() - panelSize.width() / 2, anchor.bottom() + 1 + gap};
    } else if (!beside) {
        topLeft = {centre.x() - panelSize.width() / 2, anchor.top() - gap - panelSize.height()};
    } else if (toLeft <= toRight) {
        topLeft = {anchor.right() + 1 + gap, centre.y() - panelSize.height() / 2};
    } else {
        topLeft = {anchor.left() - gap - panelSize.width(), centre.y() - panelSize.height() / 2};
    }

    // Keep the panel on the screen; a panel wider than the area pins to its left edge.
    const int maxX = area.left() + std::max(0, area.width() - panelSize.width());
    const int maxY = area.top() + std::max(0, area.height() - panelSize.height());
    topLeft.setX(std::clamp(topLeft.x(), area.left(), maxX));
    topLeft.setY(std::clamp(topLeft.y(), area.top(), maxY));
    return QRect(topLeft, panelSize);
}
