#pragma once

#include "platform/TrayItem.h"

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusVariant>
#include <QVariantMap>

// The wire shapes of the com.canonical.dbusmenu protocol.
struct DBusMenuLayoutItem
{
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayoutItem> children;
};

struct DBusMenuItemProperties
{
    int id = 0;
    QVariantMap properties;
};
using DBusMenuItemPropertiesList = QList<DBusMenuItemProperties>;

struct DBusMenuEvent
{
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};
using DBusMenuEventList = QList<DBusMenuEvent>;

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuLayoutItem &item);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuLayoutItem &item);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItemProperties &item);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItemProperties &item);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEvent &event);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEvent &event);

Q_DECLARE_METATYPE(DBusMenuLayoutItem)
Q_DECLARE_METATYPE(DBusMenuItemProperties)
Q_DECLARE_METATYPE(DBusMenuEvent)

// The tray item's small menu, exported so that hosts which draw the menu themselves (the
// AppIndicator hosts show it on a left click and never call Activate) can offer "Open
// Quorvane". The menu never changes, so its layout revision stays 1.
class DBusMenuExporter final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    static constexpr auto objectPath = "/MenuBar";

    // `parent` is the object registered on the bus; `item` receives the chosen actions.
    DBusMenuExporter(QObject *parent, TrayItem *item);

    static void registerTypes();
    // The whole menu as GetLayout reports it from the root.
    static DBusMenuLayoutItem layout();

    uint version() const { return 3; }
    QString textDirection() const { return QStringLiteral("ltr"); }
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

public Q_SLOTS:
    uint GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames, DBusMenuLayoutItem &layout);
    DBusMenuItemPropertiesList GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames);
    QDBusVariant GetProperty(int id, const QString &name);
    void Event(int id, const QString &eventId, const QDBusVariant &data, uint timestamp);
    // Spelled out: QtDBus looks parameter types up by name, and a typedef name is unknown.
    QList<int> EventGroup(const QList<DBusMenuEvent> &events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors);

Q_SIGNALS:
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint timestamp);

private:
    bool handleEvent(int id, const QString &eventId);

    TrayItem *m_item;
};
