#include "platform/FreedesktopNotifier.h"
#include "platform/Notifications.h"
#include "platform/StatusNotifierItem.h"
#include "platform/SystemTrayItem.h"
#include "platform/XdgAutostart.h"

#include <QGuiApplication>
#include <QStandardPaths>
#include <xcb/xcb.h>

namespace Platform {

std::unique_ptr<TrayItem> createTrayItem()
{
    if (StatusNotifierItem::isAvailable())
        return std::make_unique<StatusNotifierItem>();
    return std::make_unique<SystemTrayItem>();
}

bool windowsCanBeTranslucent()
{
    const QString platform = QGuiApplication::platformName();
    if (platform.startsWith(QLatin1String("wayland")))
        return true; // every Wayland compositor composites
    if (platform != QLatin1String("xcb"))
        return false;
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    if (!connection)
        return false;
    // A compositing manager owns the _NET_WM_CM_S<screen> selection while it runs.
    static constexpr char name[] = "_NET_WM_CM_S0";
    xcb_intern_atom_reply_t *atom
        = xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 1, sizeof(name) - 1, name), nullptr);
    if (!atom || atom->atom == XCB_ATOM_NONE) {
        free(atom);
        return false;
    }
    xcb_get_selection_owner_reply_t *owner
        = xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom->atom), nullptr);
    const bool composited = owner && owner->owner != XCB_NONE;
    free(owner);
    free(atom);
    return composited;
}

QRect barUnder(const QPoint &point)
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return {};
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t *connection = x11 ? x11->connection() : nullptr;
    const xcb_screen_t *screen = connection ? xcb_setup_roots_iterator(xcb_get_setup(connection)).data : nullptr;
    if (!screen)
        return {};
    xcb_query_tree_reply_t *tree = xcb_query_tree_reply(connection, xcb_query_tree(connection, screen->root), nullptr);
    if (!tree)
        return {};
    // Qt works in device-independent pixels; top-level windows report root coordinates.
    const qreal ratio = qGuiApp->devicePixelRatio();
    QRect bar;
    const xcb_window_t *children = xcb_query_tree_children(tree);
    // Topmost first. The host's menu may still be mapped over the bar: only a long, thin
    // window counts as the bar.
    for (int i = xcb_query_tree_children_length(tree) - 1; i >= 0 && bar.isNull(); --i) {
        xcb_get_window_attributes_reply_t *attributes = xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, children[i]), nullptr);
        const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        free(attributes);
        xcb_get_geometry_reply_t *geometry
            = viewable ? xcb_get_geometry_reply(connection, xcb_get_geometry(connection, children[i]), nullptr) : nullptr;
        if (!geometry)
            continue;
        const QRect window(QPoint(geometry->x, geometry->y) / ratio, QSize(geometry->width, geometry->height) / ratio);
        free(geometry);
        const bool horizontal = window.width() >= 300 && window.height() <= 100;
        const bool vertical = window.height() >= 300 && window.width() <= 100;
        if (window.contains(point) && horizontal)
            bar = QRect(point.x(), window.top(), 1, window.height());
        else if (window.contains(point) && vertical)
            bar = QRect(window.left(), point.y(), window.width(), 1);
    }
    free(tree);
    return bar;
}

std::unique_ptr<LoginItem> createLoginItem(const QString &configHome)
{
    return std::make_unique<XdgAutostart>(configHome);
}

std::shared_ptr<DesktopNotifier> createNotifier(const QString &soundsFolder, const QString &appIcon)
{
    auto sound = std::make_shared<MediaSaleSound>(
        soundsFolder, QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation));
    auto notifier = std::make_shared<FreedesktopNotifier>(QDBusConnection::sessionBus(), std::move(sound));
    notifier->setAppIcon(appIcon);
    return notifier;
}

} // namespace Platform
