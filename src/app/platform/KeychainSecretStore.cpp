#include "KeychainSecretStore.h"

#include <QDBusMessage>
#include <QDBusObjectPath>

#ifdef QUORVANE_HAS_KEYCHAIN
#include "util/Cancellation.h"

#include <QCoroSignal>
#include <qt6keychain/keychain.h>

using namespace Qt::StringLiterals;

namespace {

// Runs one job to its end. The job may finish inside start() (no backend at all), so its
// outcome is caught by a direct connection and the coroutine only waits when it has not
// arrived yet; the waker emits once, which makes the queued resume safe.
QCoro::Task<QKeychain::Error> run(QKeychain::Job *job)
{
    std::unique_ptr<QKeychain::Job> owned(job);
    job->setAutoDelete(false);
    bool finished = false;
    Waker waker;
    QObject::connect(job, &QKeychain::Job::finished, &waker, [&] {
        finished = true;
        waker.wake();
    });
    job->start();
    if (!finished)
        co_await qCoro(&waker, &Waker::woke);
    co_return job->error();
}

class KeychainSecretStore final : public SecretStore
{
public:
    QCoro::Task<ReadResult> read(QString key) override
    {
        auto *job = new QKeychain::ReadPasswordJob(service());
        job->setKey(key);
        QByteArray value;
        QObject::connect(job, &QKeychain::Job::finished, job, [job, &value] { value = job->binaryData(); });
        const QKeychain::Error error = co_await run(job);
        if (error == QKeychain::NoError)
            co_return ReadResult{Status::Ok, value};
        if (error == QKeychain::EntryNotFound)
            co_return ReadResult{Status::NotFound, {}};
        const bool refused = error == QKeychain::AccessDeniedByUser || error == QKeychain::AccessDenied;
        co_return ReadResult{refused ? Status::Locked : Status::Unavailable, {}};
    }

    QCoro::Task<bool> write(QString key, QByteArray value) override
    {
        auto *job = new QKeychain::WritePasswordJob(service());
        job->setKey(key);
        job->setBinaryData(value);
        co_return co_await run(job) == QKeychain::NoError;
    }

    QCoro::Task<bool> remove(QString key) override
    {
        auto *job = new QKeychain::DeletePasswordJob(service());
        job->setKey(key);
        const QKeychain::Error error = co_await run(job);
        co_return error == QKeychain::NoError || error == QKeychain::EntryNotFound;
    }

private:
    static QString service() { return u"Quorvane"_s; }
};

} // namespace

std::shared_ptr<SecretStore> makeDesktopSecretStore()
{
    return std::make_shared<KeychainSecretStore>();
}

#else

std::shared_ptr<SecretStore> makeDesktopSecretStore()
{
    return {};
}

#endif

bool keyringNeedsSetup(const QDBusConnection &bus)
{
    const QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.secrets"), QStringLiteral("/org/freedesktop/secrets"),
        QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("ReadAlias"))
        << QStringLiteral("default");
    const QDBusMessage reply = bus.call(call, QDBus::Block, 1000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false; // no keyring service: keys stay in the private file, and nothing asks
    // The service names "/" when the alias points nowhere: the first write creates a collection.
    return reply.arguments().constFirst().value<QDBusObjectPath>().path() == u"/";
}
