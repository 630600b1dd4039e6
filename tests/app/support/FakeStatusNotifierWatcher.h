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
    explicit FakeStatusNotifierWatcher(QDBusConnection connection, QObject *parent = nullptr);
    ~FakeStatusNotifierWatcher() override;
    bool isRunning() const { return m_running; }

    QStringList registered() const { return m_registered; }
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString &service);
    void RegisterStatusNotifierHost(const QString &service);

Q_SIGNALS:
    void StatusNotifierItemRegistered(const QString &service);

private:
    QDBusConnection m_connection;
    QStringList m_registered;
    bool m_running = false;
};
