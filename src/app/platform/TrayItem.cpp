#include "TrayItem.h"

#include <QMenu>

using namespace Qt::StringLiterals;

QList<TrayMenuEntry> trayMenuEntries()
{
    return {{1, TrayAction::Open, u"Open Quorvane"_s},
            {2, TrayAction::Refresh, u"Refresh now"_s},
            {3, TrayAction::Separator, {}},
            {4, TrayAction::Quit, u"Quit"_s}};
}

void TrayItem::trigger(TrayAction action, const QPoint &point)
{
    switch (action) {
    case TrayAction::Open:
        Q_EMIT openRequested(point);
        break;
    case TrayAction::Refresh:
        Q_EMIT refreshRequested();
        break;
    case TrayAction::Quit:
        Q_EMIT quitRequested();
        break;
    case TrayAction::Separator:
        break;
    }
}

QMenu *createTrayMenu(TrayItem *item)
{
    auto *menu = new QMenu;
    for (const TrayMenuEntry &entry : trayMenuEntries()) {
        if (entry.action == TrayAction::Separator) {
            menu->addSeparator();
            continue;
        }
        QObject::connect(menu->addAction(entry.label), &QAction::triggered, item,
                         [item, menu, action = entry.action] { item->trigger(action, menu->pos()); });
    }
    return menu;
}
