#include "StatusNotifierItem.h"

#include "platform/DBusMenuExporter.h"

#include <QCoreApplication>
#include <QCursor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusReply>
#include <QMenu>
#include <QtEndian>

using namespace Qt::StringLiterals;

QDBusArgument &operator<<(QDBusArgument &argument, const SniPixmap &pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.bytes;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SniPixmap &pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const SniToolTip &toolTip)
{
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.description;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SniToolTip &toolTip)
{
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.description;
    argument.endStructure();
    return argument;
}

SniPixmap toSniPixmap(const QImage &image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    SniPixmap out{argb.width(), argb.height(), {}};
    out.bytes.resize(qsizetype(argb.width()) * argb.height() * 4);
    auto *target = reinterpret_cast<uchar *>(out.bytes.data());
    for (int y = 0; y < argb.height(); ++y) {
        const auto *line = reinterpret_cast<const quint32 *>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            qToBigEndian(line[x], target);
            target += 4;
        }
    }
    return out;
}

static void registerTypes()
{
    static const bool done = [] {
        qDBusRegisterMetaType<SniPixmap>();
        qDBusRegisterMetaType<SniPixmapList>();
        qDBusRegisterMetaType<SniToolTip>();
        return true;
    }();
    Q_UNUSED(done);
}

StatusNotifierItem::StatusNotifierItem()
    : m_serviceName(u"org.kde.StatusNotifierItem-%1-1"_s.arg(QCoreApplication::applicationPid()))
{
    registerTypes();
    m_toolTip.title = u"Quorvane"_s;
    m_watcher.setConnection(QDBusConnection::sessionBus());
    m_watcher.addWatchedService(QString::fromLatin1(watcherService));
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] {
        if (m_shown)
            registerWithWatcher();
    });
    new StatusNotifierItemAdaptor(this);
    new DBusMenuExporter(&m_menuObject, this);
}

StatusNotifierItem::~StatusNotifierItem()
{
    if (m_shown) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterObject(u"/StatusNotifierItem"_s);
        bus.unregisterObject(QString::fromLatin1(DBusMenuExporter::objectPath));
        bus.unregisterService(m_serviceName);
    }
}

bool StatusNotifierItem::isAvailable()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()
           && bus.interface()->isServiceRegistered(QString::fromLatin1(watcherService)).value();
}

void StatusNotifierItem::show()
{
    if (m_shown)
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerService(m_serviceName);
    bus.registerObject(u"/StatusNotifierItem"_s, this, QDBusConnection::ExportAdaptors);
    bus.registerObject(QString::fromLatin1(DBusMenuExporter::objectPath), &m_menuObject, QDBusConnection::ExportAdaptors);
    m_shown = true;
    registerWithWatcher();
}

bool StatusNotifierItem::isSeen() const
{
    // A watcher without any host (an indicator service whose panel is not running) shows nothing.
    QDBusMessage get = QDBusMessage::createMethodCall(QString::fromLatin1(watcherService), u"/StatusNotifierWatcher"_s,
                                                      u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get << u"org.kde.StatusNotifierWatcher"_s << u"IsStatusNotifierHostRegistered"_s;
    const QDBusReply<QDBusVariant> reply = QDBusConnection::sessionBus().call(get, QDBus::Block, 1000);
    return !reply.isValid() || reply.value().variant().toBool();
}

void StatusNotifierItem::popUpMenu(const QPoint &point)
{
    QMenu *menu = createTrayMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(point);
}

void StatusNotifierItem::registerWithWatcher()
{
    QDBusMessage call = QDBusMessage::createMethodCall(QString::fromLatin1(watcherService), u"/StatusNotifierWatcher"_s,
                                                       u"org.kde.StatusNotifierWatcher"_s,
                                                       u"RegisterStatusNotifierItem"_s);
    call << m_serviceName;
    // Fire and forget: a watcher that is gone now will announce itself again when it returns.
    QDBusConnection::sessionBus().call(call, QDBus::NoBlock);
}

void StatusNotifierItem::setLabel(const QString &label)
{
    if (label == m_label)
        return;
    m_label = label;
    Q_EMIT labelChanged(m_label, u"$00.0K"_s);
}

void StatusNotifierItem::setToolTip(const QString &title, const QString &text)
{
    m_toolTip.title = title;
    m_toolTip.description = text;
    Q_EMIT toolTipChanged();
}

void StatusNotifierItem::setIcon(const QImage &icon)
{
    // Hosts that only draw named icons get the theme folder; the others take the pixmaps.
    m_iconName = m_theme.write(icon);
    m_pixmaps = {toSniPixmap(icon.scaled(22, 22, Qt::KeepAspectRatio, Qt::SmoothTransformation)),
                 toSniPixmap(icon.scaled(44, 44, Qt::KeepAspectRatio, Qt::SmoothTransformation))};
    m_toolTip.pixmaps = m_pixmaps;
    Q_EMIT iconChanged();
}

StatusNotifierItemAdaptor::StatusNotifierItemAdaptor(StatusNotifierItem *item)
    : QDBusAbstractAdaptor(item)
    , m_item(item)
{
    setAutoRelaySignals(false);
    connect(item, &StatusNotifierItem::labelChanged, this, &StatusNotifierItemAdaptor::XAyatanaNewLabel);
    connect(item, &StatusNotifierItem::toolTipChanged, this, &StatusNotifierItemAdaptor::NewToolTip);
    connect(item, &StatusNotifierItem::iconChanged, this, &StatusNotifierItemAdaptor::NewIcon);
}

void StatusNotifierItemAdaptor::Activate(int x, int y)
{
    // Hosts report only a point; the bar around it tells which way the panel should open.
    Q_EMIT m_item->activated(Platform::barUnder(QPoint(x, y)), QPoint(x, y));
}

void StatusNotifierItemAdaptor::SecondaryActivate(int x, int y)
{
    // A middle click opens the panel too: some hosts keep the left click for the menu.
    Activate(x, y);
}

void StatusNotifierItemAdaptor::XAyatanaSecondaryActivate(uint)
{
    const QPoint pointer = QCursor::pos();
    Activate(pointer.x(), pointer.y());
}

void StatusNotifierItemAdaptor::ContextMenu(int x, int y)
{
    m_item->popUpMenu(QPoint(x, y));
}

QDBusObjectPath StatusNotifierItemAdaptor::menu() const
{
    return QDBusObjectPath(QString::fromLatin1(DBusMenuExporter::objectPath));
}

void StatusNotifierItemAdaptor::Scroll(int, const QString &)
{
}
