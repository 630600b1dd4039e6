#include "FakeStatusNotifierWatcher.h"

#include <QDBusMessage>

FakeStatusNotifierWatcher::FakeStatusNotifierWatcher(QDBusConnection connection, QObject *parent)
    : QObject(parent)
    , m_connection(std::move(connection))
{
    m_running = m_connection.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                            QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals
                                                | QDBusConnection::ExportAllProperties)
                && m_connection.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

FakeStatusNotifierWatcher::~FakeStatusNotifierWatcher()
{
    m_connection.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    m_connection.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
}

void FakeStatusNotifierWatcher::RegisterStatusNotifierItem(const QString &service)
{
    if (!m_registered.contains(service))
        m_registered.append(service);
    Q_EMIT StatusNotifierItemRegistered(service);
}

void FakeStatusNotifierWatcher::RegisterStatusNotifierHost(const QString &)
{
}
