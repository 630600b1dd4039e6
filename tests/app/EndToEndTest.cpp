#include "AppFixture.h"
#include "support/CannedProviders.h"
#include "support/ChildProcess.h"
#include "support/FakeStatusNotifierWatcher.h"
#include "support/TestUtil.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QProcess>
#include <QStandardPaths>

using namespace Qt::StringLiterals;


// The real program on a private session bus and X server: it registers its tray item with
// the watcher, refreshes from loopback Stripe and publishes the running figure as its label.
TEST_F(AppFixture, TrayLabelReachesTheSessionBusAfterARefresh)
{
    const QString xvfb = QStandardPaths::findExecutable(u"Xvfb"_s);
    const QString dbusDaemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
    if (xvfb.isEmpty() || dbusDaemon.isEmpty())
        GTEST_SKIP() << "Xvfb or dbus-daemon is not installed";

    ChildProcess bus;
    bus.process.start(dbusDaemon, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    ASSERT_TRUE(bus.process.waitForStarted());
    const QString address = firstLine(bus.process, 5000);
    ASSERT_FALSE(address.isEmpty());

    ChildProcess display;
    display.process.start(xvfb, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x800x24"_s, u"-nolisten"_s, u"tcp"_s});
    ASSERT_TRUE(display.process.waitForStarted());
    const QString displayNumber = firstLine(display.process, 10000);
    ASSERT_FALSE(displayNumber.isEmpty());

    QDBusConnection connection = QDBusConnection::connectToBus(address, u"e2e"_s);
    ASSERT_TRUE(connection.isConnected());
    FakeStatusNotifierWatcher watcher(connection);
    ASSERT_TRUE(watcher.isRunning());

    FakeHttpServer stripe;
    const Date realNow = Date::fromDateTime(QDateTime::currentDateTimeUtc());
    CannedProviders::installStripe(stripe, CannedProviders::Scenario::TodayOnly, realNow);

    ChildProcess app;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, address);
    env.insert(u"DISPLAY"_s, u":"_s + displayNumber);
    env.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    env.insert(u"XDG_RUNTIME_DIR"_s, dir.path());
    app.process.setProcessEnvironment(env);
    app.process.start(QStringLiteral(QUORVANE_TESTBUILD_PATH),
                      {u"--data-dir"_s, dir.path(), u"--stripe-base"_s, stripe.baseUrl().toString(), u"--seed"_s,
                       u"stripe:Acme:rk_test_e2e"_s});
    ASSERT_TRUE(app.process.waitForStarted());

    const QString service = u"org.kde.StatusNotifierItem-%1-1"_s.arg(app.process.processId());
    ASSERT_TRUE(waitUntil([&] { return watcher.registered().contains(service); }, 20000))
        << app.process.readAllStandardError().toStdString();

    const auto property = [&](const QString &name) {
        QDBusMessage get = QDBusMessage::createMethodCall(service, u"/StatusNotifierItem"_s,
                                                          u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        get << u"org.kde.StatusNotifierItem"_s << name;
        const QDBusMessage reply = connection.call(get, QDBus::Block, 2000);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return QVariant();
        return reply.arguments().first().value<QDBusVariant>().variant();
    };
    const QString expected = u"$1348"_s; // three invoices of today: 49 + 99 + 1200
    QString label;
    const bool arrived = waitUntil(
        [&] {
            label = property(u"XAyatanaLabel"_s).toString();
            return label == expected;
        },
        20000);
    EXPECT_TRUE(arrived) << "last label: " << label.toStdString();
    EXPECT_EQ(property(u"Status"_s).toString(), u"Active");
    EXPECT_EQ(property(u"Id"_s).toString(), u"quorvane");
    EXPECT_FALSE(stripe.requestsTo("/v1/events").isEmpty());
    EXPECT_TRUE(app.process.readAllStandardOutput().isEmpty()); // a normal run prints nothing
}
