#include "AppFixture.h"
#include "platform/KeychainSecretStore.h"
#include "viewmodels/AccountsModel.h"
#include "support/ChildProcess.h"
#include "support/TestUtil.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QStandardPaths>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

// The Secret Service's default alias, as a test bus serves it.
class AliasService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Secret.Service")
public:
    QString defaultCollection;
public Q_SLOTS:
    QDBusObjectPath ReadAlias(const QString &name) { return QDBusObjectPath(name == u"default"_s ? defaultCollection : u"/"_s); }
};

// A keyring that answers: nothing stored yet, every write taken.
struct AnsweringKeyring final : SecretStore
{
    QCoro::Task<ReadResult> read(QString) override { co_return ReadResult{Status::NotFound, {}}; }
    QCoro::Task<bool> write(QString, QByteArray) override { co_return true; }
    QCoro::Task<bool> remove(QString) override { co_return true; }
};

} // namespace

// The editor says where a key goes before the desktop asks anything: a keyring without a
// default collection will ask for one to be set up first.
TEST_F(AppFixture, TheEditorSaysWhereTheKeyGoesBeforeTheKeyringAsks)
{
    if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed";
    ChildProcess bus;
    const QString address = startSessionBus(bus);
    QDBusConnection serviceSide = QDBusConnection::connectToBus(address, u"secrets"_s);
    QDBusConnection appSide = QDBusConnection::connectToBus(address, u"editor"_s);
    // The probe blocks its thread, so the service answers from a thread of its own.
    AliasService service;
    struct Running { QThread thread; ~Running() { thread.quit(); thread.wait(); } } serving;
    service.moveToThread(&serving.thread);
    serving.thread.start();
    ASSERT_TRUE(serviceSide.registerObject(u"/org/freedesktop/secrets"_s, &service, QDBusConnection::ExportAllSlots));
    // Before anything asks for it: the bus would start the machine's own keyring daemon.
    ASSERT_TRUE(serviceSide.registerService(u"org.freedesktop.secrets"_s));

    EngineEnvironment withKeyring = environment();
    withKeyring.secrets = std::make_shared<AnsweringKeyring>();
    engine = std::make_unique<RevenueEngine>(withKeyring);
    ASSERT_TRUE(waitUntil([&] { return engine->credentialsReady(); }));
    ASSERT_TRUE(engine->usesKeyring());
    AccountsModel accounts(engine.get());
    accounts.setKeyringProbe([&] { return keyringNeedsSetup(appSide); });
    const struct { const char *name; QString collection; QString note; } rows[] = {
        {"no default keyring yet", u"/"_s, u"Your desktop will ask you to set up a keyring to store this key."_s},
        {"a login keyring", u"/org/freedesktop/secrets/collection/login"_s, u"The key is kept in your desktop's keyring."_s}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        service.defaultCollection = row.collection;
        accounts.addAccount(u"stripe"_s);
        ASSERT_NE(accounts.editor(), nullptr);
        EXPECT_EQ(accounts.editor()->storageNote(), row.note);
    }
    EXPECT_TRUE(AccountEditor::storageNote(false, true).contains(u"accounts file"_s)) << "no keyring: the file is named";
    QDBusConnection::disconnectFromBus(u"secrets"_s);
    QDBusConnection::disconnectFromBus(u"editor"_s);
}

// Against a real Secret Service: gnome-keyring on a private session bus that this test starts, with a login keyring
// unlocked by a password on its input. The checks run in a child process of this binary: GLib ends a process whose
// session bus goes away, and the bus goes away when the test stops it.
TEST_F(AppFixture, KeysLiveInARealSecretServiceAndSurviveARestart)
{
    if (qEnvironmentVariableIsSet("QUORVANE_PRIVATE_KEYRING")) {
        const Account acme{.name = u"Acme"_s, .stripeRestrictedKey = u"rk_live_moved"_s};
        ASSERT_TRUE(storage().saveAccounts({acme}));
        EngineEnvironment withKeyring = environment();
        withKeyring.secrets = makeDesktopSecretStore();
        const auto accountsFile = [&] { return storage().read(Storage::accountsFile).value_or(QByteArray()); };
        {
            RevenueEngine engine(withKeyring);
            ASSERT_TRUE(QTest::qWaitFor(
                [&] { return engine.credentialsReady() && !accountsFile().contains("rk_live"); }, 20000))
                << accountsFile().toStdString();
            EXPECT_TRUE(engine.usesKeyring());
            EXPECT_EQ(engine.accounts()[0].stripeRestrictedKey, u"rk_live_moved"_s);
        }
        RevenueEngine restarted(withKeyring);
        ASSERT_TRUE(QTest::qWaitFor([&] { return restarted.credentialsReady(); }, 20000));
        EXPECT_EQ(restarted.accounts()[0].stripeRestrictedKey, u"rk_live_moved"_s);
        restarted.removeAccount(restarted.accounts()[0]);
        const auto store = makeDesktopSecretStore();
        SecretStore::Status status = SecretStore::Status::Ok;
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                status = QCoro::waitFor(store->read(u"account-"_s + uuidText(acme.id))).status;
                return status != SecretStore::Status::Ok;
            },
            20000));
        EXPECT_EQ(status, SecretStore::Status::NotFound);
        return;
    }

    const QString dbusDaemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
    const QString keyringDaemon = QStandardPaths::findExecutable(u"gnome-keyring-daemon"_s);
    if (dbusDaemon.isEmpty() || keyringDaemon.isEmpty() || !makeDesktopSecretStore())
        GTEST_SKIP() << "dbus-daemon, gnome-keyring or QtKeychain is not installed";
    ChildProcess bus, keyring;
    bus.process.start(dbusDaemon, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    const QString address = firstLine(bus.process, 10000);
    ASSERT_FALSE(address.isEmpty());
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
    env.insert(u"HOME"_s, dir.path());
    env.insert(u"XDG_DATA_HOME"_s, dir.filePath(u"share"_s));
    env.insert(u"XDG_RUNTIME_DIR"_s, dir.path());
    keyring.process.setProcessEnvironment(env);
    keyring.process.start(keyringDaemon, {u"--unlock"_s, u"--components=secrets"_s, u"--foreground"_s});
    ASSERT_TRUE(keyring.process.waitForStarted(10000));
    keyring.process.write("pw");
    keyring.process.closeWriteChannel();
    {
        QDBusConnection probe = QDBusConnection::connectToBus(address, u"keyring-probe"_s);
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return probe.interface()->isServiceRegistered(u"org.freedesktop.secrets"_s).value(); }, 10000));
    }
    QDBusConnection::disconnectFromBus(u"keyring-probe"_s);

    QProcess child;
    env.insert(u"QUORVANE_PRIVATE_KEYRING"_s, u"1"_s);
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::MergedChannels);
    child.start(QCoreApplication::applicationFilePath(),
                {u"--gtest_filter=AppFixture.KeysLiveInARealSecretServiceAndSurviveARestart"_s});
    ASSERT_TRUE(child.waitForFinished(120000));
    const QByteArray output = child.readAll();
    EXPECT_EQ(child.exitCode(), 0) << output.toStdString();
    EXPECT_TRUE(output.contains("[  PASSED  ] 1 test")) << output.toStdString();
}

#include "KeyringTest.moc"
