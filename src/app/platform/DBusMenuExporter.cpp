#include "DBusMenuExporter.h"

#include <QCursor>
#include <QDBusMetaType>
#include <QTimer>

using namespace Qt::StringLiterals;

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuLayoutItem &item)
{
    argument.beginStructure();
    argument << item.id << item.properties;
    // Children travel as variants, which is how the protocol nests its recursive type.
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const DBusMenuLayoutItem &child : item.children)
        argument << QDBusVariant(QVariant::fromValue(child));
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuLayoutItem &item)
{
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.beginArray();
    item.children.clear();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        item.children.append(qdbus_cast<DBusMenuLayoutItem>(child.variant()));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItemProperties &item)
{
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItemProperties &item)
{
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEvent &event)
{
    argument.beginStructure();
    argument << event.id << event.eventId << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEvent &event)
{
    argument.beginStructure();
    argument >> event.id >> event.eventId >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

namespace {

constexpr int rootId = 0;

QVariantMap propertiesOf(const TrayMenuEntry &entry)
{
    if (entry.action == TrayAction::Separator)
        return {{u"type"_s, u"separator"_s}};
    return {{u"label"_s, entry.label}, {u"enabled"_s, true}, {u"visible"_s, true}};
}

QVariantMap rootProperties()
{
    return {{u"children-display"_s, u"submenu"_s}};
}

// Hosts may ask for a subset of the properties; an empty list means all of them.
QVariantMap filtered(const QVariantMap &all, const QStringList &names)
{
    if (names.isEmpty())
        return all;
    QVariantMap out;
    for (const QString &name : names)
        if (all.contains(name))
            out.insert(name, all.value(name));
    return out;
}

std::optional<QVariantMap> propertiesOf(int id)
{
    if (id == rootId)
        return rootProperties();
    for (const TrayMenuEntry &entry : trayMenuEntries())
        if (entry.id == id)
            return propertiesOf(entry);
    return std::nullopt;
}

} // namespace

DBusMenuExporter::DBusMenuExporter(QObject *parent, TrayItem *item)
    : QDBusAbstractAdaptor(parent)
    , m_item(item)
{
    registerTypes();
    setAutoRelaySignals(false);
}

void DBusMenuExporter::registerTypes()
{
    static const bool done = [] {
        qDBusRegisterMetaType<DBusMenuLayoutItem>();
        qDBusRegisterMetaType<DBusMenuItemProperties>();
        qDBusRegisterMetaType<DBusMenuItemPropertiesList>();
        qDBusRegisterMetaType<DBusMenuEvent>();
        qDBusRegisterMetaType<DBusMenuEventList>();
        return true;
    }();
    Q_UNUSED(done);
}

DBusMenuLayoutItem DBusMenuExporter::layout()
{
    DBusMenuLayoutItem root{rootId, rootProperties(), {}};
    for (const TrayMenuEntry &entry : trayMenuEntries())
        root.children.append({entry.id, propertiesOf(entry), {}});
    return root;
}

uint DBusMenuExporter::GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                                 DBusMenuLayoutItem &layoutOut)
{
    DBusMenuLayoutItem whole = layout();
    if (parentId != rootId) {
        // Leaves have no children; asking for one returns just that item.
        const auto properties = propertiesOf(parentId);
        whole = {parentId, properties.value_or(QVariantMap()), {}};
    } else if (recursionDepth == 0) {
        whole.children.clear();
    }
    whole.properties = filtered(whole.properties, propertyNames);
    for (DBusMenuLayoutItem &child : whole.children)
        child.properties = filtered(child.properties, propertyNames);
    layoutOut = whole;
    return 1;
}

DBusMenuItemPropertiesList DBusMenuExporter::GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames)
{
    DBusMenuItemPropertiesList out;
    QList<int> wanted = ids;
    if (wanted.isEmpty()) { // all items
        wanted.append(rootId);
        for (const TrayMenuEntry &entry : trayMenuEntries())
            wanted.append(entry.id);
    }
    for (int id : std::as_const(wanted))
        if (const auto properties = propertiesOf(id))
            out.append({id, filtered(*properties, propertyNames)});
    return out;
}

QDBusVariant DBusMenuExporter::GetProperty(int id, const QString &name)
{
    return QDBusVariant(propertiesOf(id).value_or(QVariantMap()).value(name));
}

void DBusMenuExporter::Event(int id, const QString &eventId, const QDBusVariant &, uint)
{
    handleEvent(id, eventId);
}

QList<int> DBusMenuExporter::EventGroup(const QList<DBusMenuEvent> &events)
{
    QList<int> unknownIds;
    for (const DBusMenuEvent &event : events)
        if (!handleEvent(event.id, event.eventId))
            unknownIds.append(event.id);
    return unknownIds;
}

bool DBusMenuExporter::AboutToShow(int)
{
    return false; // the layout never changes
}

QList<int> DBusMenuExporter::AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors)
{
    for (int id : ids)
        if (!propertiesOf(id))
            idErrors.append(id);
    return {};
}

bool DBusMenuExporter::handleEvent(int id, const QString &eventId)
{
    if (id != rootId && !propertiesOf(id))
        return false;
    if (eventId != u"clicked"_s)
        return true;
    for (const TrayMenuEntry &entry : trayMenuEntries()) {
        if (entry.id != id)
            continue;
        // After the reply has gone out: quitting inside the call would leave the host waiting.
        QTimer::singleShot(0, m_item, [item = m_item, action = entry.action] {
            // The host's menu sits where the user just clicked, next to the tray item.
            item->trigger(action, QCursor::pos());
        });
    }
    return true;
}
