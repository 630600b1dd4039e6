#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

// A minimal StatusNotifierWatcher: accepts registrations and remembers them, like the one a
// desktop's tray host runs.
class FakeStatusNotifierWatcher : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ registered)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    explicit FakeStatusNotifierWatcher(QDBusConnection connection, QObject *parent = nullptr)
        : QObject(parent), m_connection(std::move(connection))
    {
        m_running = m_connection.registerObject(watcherPath, this, QDBusConnection::ExportAllContents)
                    && m_connection.registerService(watcherName);
    }
    ~FakeStatusNotifierWatcher() override
    {
        m_connection.unregisterService(watcherName);
        m_connection.unregisterObject(watcherPath);
    }
    bool isRunning() const { return m_running; }

    QStringList registered() const { return m_registered; }
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service)
    {
        if (!m_registered.contains(service))
            m_registered.append(service);
        Q_EMIT StatusNotifierItemRegistered(service);
    }
    void RegisterStatusNotifierHost(const QString &) {}

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &service);

private:
    static inline const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
    static inline const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
    QDBusConnection m_connection;
    QStringList m_registered;
    bool m_running = false;
};
