#pragma once

#include <QDBusConnection>
#include <QLocalServer>
#include <QLockFile>
#include <QObject>
#include <memory>

// One running copy per user. The first copy owns the application's name on the session bus
// (serving org.freedesktop.Application) and a lock file with a local socket in the runtime
// folder, which is all there is where no session bus runs. A later copy hands its request to
// the first one and ends.
class SingleInstance : public QObject
{
    Q_OBJECT
public:
    enum class Request { Open, Quit };

    // `bus` may be disconnected; `runtimeFolder` holds the lock file and the socket.
    SingleInstance(QDBusConnection bus, QString runtimeFolder, QObject *parent = nullptr);
    ~SingleInstance() override;

    // Makes this the running copy; false when another copy already is.
    bool claim();
    // Hands `request` to the running copy and waits for it to be taken; false when none took it.
    bool send(Request request);

    static QString busName();
    static QString objectPath();
    QString socketPath() const;

Q_SIGNALS:
    void openRequested();
    void quitRequested();

private:
    void take(Request request);
    bool sendOverBus(Request request);
    bool sendOverSocket(Request request);

    QDBusConnection m_bus;
    QString m_runtimeFolder;
    QLockFile m_lock;
    QLocalServer m_server;
    bool m_ownsName = false;
    friend class ApplicationAdaptor;
};
