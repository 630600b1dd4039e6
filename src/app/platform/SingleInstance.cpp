#include "SingleInstance.h"

#include "platform/AppId.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

namespace {

const QString applicationInterface = u"org.freedesktop.Application"_s;
constexpr int answerTimeoutMs = 5000;

QByteArray wireWord(SingleInstance::Request request)
{
    return request == SingleInstance::Request::Quit ? "quit\n" : "open\n";
}

} // namespace

// org.freedesktop.Application on the bus: Activate opens the panel, the "quit" action ends
// the program. Launchers and D-Bus activation speak this interface too.
class ApplicationAdaptor : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    explicit ApplicationAdaptor(SingleInstance *owner)
        : QObject(owner)
        , m_owner(owner)
    {
    }

public Q_SLOTS:
    void Activate(const QVariantMap &) { m_owner->take(SingleInstance::Request::Open); }
    void Open(const QStringList &, const QVariantMap &) { m_owner->take(SingleInstance::Request::Open); }
    void ActivateAction(const QString &name, const QVariantList &, const QVariantMap &)
    {
        if (name == u"quit"_s)
            m_owner->take(SingleInstance::Request::Quit);
        else if (name == u"open"_s)
            m_owner->take(SingleInstance::Request::Open);
    }

private:
    SingleInstance *m_owner;
};

SingleInstance::SingleInstance(QDBusConnection bus, QString runtimeFolder, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_runtimeFolder(std::move(runtimeFolder))
    , m_lock(QDir(m_runtimeFolder).filePath(u"quorvane.lock"_s))
{
    // The copy holding the lock lives as long as the session: only a dead owner makes it stale.
    m_lock.setStaleLockTime(0);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *client = m_server.nextPendingConnection()) {
            connect(client, &QLocalSocket::disconnected, client, &QObject::deleteLater);
            connect(client, &QLocalSocket::readyRead, this, [this, client] {
                if (!client->canReadLine())
                    return;
                const QByteArray line = client->readLine();
                client->write("ok\n");
                client->flush();
                if (line == wireWord(Request::Quit))
                    take(Request::Quit);
                else if (line == wireWord(Request::Open))
                    take(Request::Open);
            });
        }
    });
}

SingleInstance::~SingleInstance()
{
    if (m_ownsName && m_bus.interface())
        m_bus.interface()->unregisterService(busName());
}

QString SingleInstance::busName()
{
    return QStringLiteral(QUORVANE_APP_ID);
}

QString SingleInstance::objectPath()
{
    return u'/' + busName().replace(u'.', u'/');
}

QString SingleInstance::socketPath() const
{
    return QDir(m_runtimeFolder).filePath(u"quorvane.socket"_s);
}

bool SingleInstance::claim()
{
    if (m_bus.isConnected() && m_bus.interface()) {
        const auto registered = m_bus.interface()->registerService(
            busName(), QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
        if (!registered.isValid() || registered.value() != QDBusConnectionInterface::ServiceRegistered)
            return false;
        m_ownsName = true;
        m_bus.registerObject(objectPath(), new ApplicationAdaptor(this), QDBusConnection::ExportAllSlots);
    }
    // Also where the bus name was free: a copy started without a session bus holds the lock.
    if (!QDir().mkpath(m_runtimeFolder) || !m_lock.tryLock(0)) {
        if (m_ownsName)
            m_bus.interface()->unregisterService(busName());
        m_ownsName = false;
        return false;
    }
    // The lock is ours, so a socket file left beside it belongs to a copy that is gone.
    QLocalServer::removeServer(socketPath());
    m_server.listen(socketPath());
    return true;
}

bool SingleInstance::send(Request request)
{
    if (m_bus.isConnected() && m_bus.interface() && m_bus.interface()->isServiceRegistered(busName()).value()
        && sendOverBus(request))
        return true;
    return sendOverSocket(request);
}

bool SingleInstance::sendOverBus(Request request)
{
    QDBusMessage call;
    if (request == Request::Quit) {
        call = QDBusMessage::createMethodCall(busName(), objectPath(), applicationInterface, u"ActivateAction"_s);
        call << u"quit"_s << QVariantList() << QVariantMap();
    } else {
        call = QDBusMessage::createMethodCall(busName(), objectPath(), applicationInterface, u"Activate"_s);
        call << QVariantMap();
    }
    return m_bus.call(call, QDBus::Block, answerTimeoutMs).type() == QDBusMessage::ReplyMessage;
}

bool SingleInstance::sendOverSocket(Request request)
{
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(answerTimeoutMs))
        return false;
    socket.write(wireWord(request));
    if (!socket.waitForBytesWritten(answerTimeoutMs))
        return false;
    while (!socket.canReadLine())
        if (!socket.waitForReadyRead(answerTimeoutMs))
            return false;
    return socket.readLine() == "ok\n";
}

void SingleInstance::take(Request request)
{
    if (request == Request::Quit)
        Q_EMIT quitRequested();
    else
        Q_EMIT openRequested();
}

#include "SingleInstance.moc"
