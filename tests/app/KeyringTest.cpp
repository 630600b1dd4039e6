#include "AppFixture.h"
#include "platform/KeychainSecretStore.h"
#include "support/ChildProcess.h"

#include <QCoreApplication>
#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QStandardPaths>
#include <QTest>

using namespace Qt::StringLiterals;

// Against a real Secret Service: gnome-keyring on a private session bus that this test
// starts, with a login keyring unlocked by a password on its input. The checks run in a
// child process of this binary: GLib ends a process whose session bus goes away, and the
// bus goes away when the test stops it.
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
