// Notifications on the desktop: the engine's refresh cycles against loopback Stripe, the
// notifier on a private session bus, and a notification server there that records calls.
#include "AppFixture.h"
#include "engine/NotificationText.h"
#include "platform/FreedesktopNotifier.h"
#include "support/ChildProcess.h"
#include "support/FakeHttpServer.h"
#include "support/StripeBodies.h"
#include "support/TestUtil.h"

#include <QDBusConnection>
#include <QJsonArray>
#include <QStandardPaths>

using namespace Qt::StringLiterals;
using namespace StripeBodies;

namespace {

// The org.freedesktop.Notifications server of the test bus: keeps every Notify call.
class RecordingNotificationServer : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Call { QString appName, appIcon, summary, body, identifier; };
    QList<Call> calls;
    QStringList capabilities{u"body"_s};

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString &appName, uint, const QString &appIcon, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &hints, int)
    {
        calls.append({appName, appIcon, summary, body, hints.value(u"x-quorvane-id"_s).toString()});
        return uint(calls.size());
    }
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion)
    {
        vendor = u"test"_s, version = u"1"_s, specVersion = u"1.2"_s;
        return u"recorder"_s;
    }
};

struct CountingSound final : SaleSound
{
    int plays = 0;
    void play() override { ++plays; }
};

const QString succeeded = u"invoice.payment_succeeded"_s;

QJsonObject paidInvoice(const QString &id, const QString &reason, qint64 at, qint64 cents,
                        const QString &type = succeeded)
{
    return StripeBodies::event(u"evt_"_s + id, type, at,
                               invoice({.id = id, .amountPaid = cents, .created = at, .billingReason = reason,
                                        .customer = u"cus_"_s + id, .lineDescription = u"Pro <monthly>"_s},
                                       Shape::Current),
                               Shape::Current);
}

} // namespace

TEST_F(AppFixture, RefreshCyclesPostANotificationPerNewEventUpToASummaryOnTheSessionBus)
{
    const QString dbusDaemon = QStandardPaths::findExecutable(u"dbus-daemon"_s);
    if (dbusDaemon.isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed";
    ChildProcess bus;
    bus.process.start(dbusDaemon, {u"--session"_s, u"--nofork"_s, u"--print-address=1"_s});
    ASSERT_TRUE(bus.process.waitForStarted());
    const QString address = firstLine(bus.process, 5000);
    ASSERT_FALSE(address.isEmpty());
    QDBusConnection serverSide = QDBusConnection::connectToBus(address, u"notification-server"_s);
    QDBusConnection clientSide = QDBusConnection::connectToBus(address, u"notifier"_s);
    RecordingNotificationServer server;
    ASSERT_TRUE(serverSide.registerObject(u"/org/freedesktop/Notifications"_s, &server, QDBusConnection::ExportAllSlots));

    const qint64 now = qint64(clock->now().unixSeconds());
    QHash<QString, QJsonArray> byType;
    FakeHttpServer stripe;
    stripe.setHandler("GET", "/v1/events", [&](const RecordedRequest &r) {
        return FakeResponse::json(200, page(byType.value(r.query(u"type"_s)), false));
    });
    stripe.setFallback([](const RecordedRequest &r) { return FakeResponse::json(200, page({}, false, QString::fromUtf8(r.path))); });
    const Account acme{.name = u"Acme & Co"_s, .stripeRestrictedKey = u"rk_test_notify"_s};

    const struct { const char *name; bool serverOnBus; QStringList capabilities; } rows[] = {
        {"plain bodies", true, {u"body"_s}},
        {"markup bodies are escaped", true, {u"body"_s, u"body-markup"_s}},
        {"no server: nothing posted, nothing rings", false, {}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        if (row.serverOnBus)
            ASSERT_TRUE(serverSide.registerService(u"org.freedesktop.Notifications"_s));
        else
            serverSide.unregisterService(u"org.freedesktop.Notifications"_s);
        server.calls.clear();
        server.capabilities = row.capabilities;
        byType.clear();
        QTemporaryDir data;
        dir.swap(data);
        ASSERT_TRUE(storage().saveAccounts({acme}));

        auto sound = std::make_shared<CountingSound>();
        auto notifier = std::make_shared<FreedesktopNotifier>(clientSide, sound);
        notifier->setAppIcon(u"file:///icons/quorvane.png"_s);
        EngineEnvironment env = environment();
        env.endpoints.stripeApi = stripe.baseUrl();
        env.notifier = notifier;
        RevenueEngine &e = *(engine = std::make_unique<RevenueEngine>(env));

        // The first cycle of a process without stored history only learns what exists.
        byType[succeeded] = {paidInvoice(u"in_known"_s, u"subscription_cycle"_s, now - 30, 900)};
        QCoro::waitFor(e.refresh());
        ASSERT_EQ(e.feed().size(), 1);

        clock->advance(60);
        byType[succeeded].append(paidInvoice(u"in_new"_s, u"subscription_create"_s, now + 20, 4900));
        byType[succeeded].append(paidInvoice(u"in_stale"_s, u"subscription_cycle"_s, now - 700, 1000));
        byType[u"invoice.payment_failed"_s] = {
            paidInvoice(u"in_failed"_s, u"subscription_cycle"_s, now + 30, 1250, u"invoice.payment_failed"_s)};
        QCoro::waitFor(e.refresh());
        ASSERT_EQ(e.feed().size(), 4);

        QList<PaymentEvent> expected;
        for (const PaymentEvent &ev : e.feed())
            if (ev.id == u"in_new"_s || ev.id.contains(u"in_failed"_s))
                expected.prepend(ev); // the feed is newest first; the cycle hands them over oldest first
        ASSERT_EQ(expected.size(), 2);
        if (!row.serverOnBus) {
            waitUntil([] { return false; }, 300); // the refused capability query has come back
            EXPECT_TRUE(server.calls.isEmpty());
            EXPECT_EQ(sound->plays, 0);
            engine.reset();
            continue;
        }
        ASSERT_TRUE(waitUntil([&] { return server.calls.size() >= 2 && sound->plays >= 1; }));
        waitUntil([] { return false; }, 100);
        ASSERT_EQ(server.calls.size(), 2);
        EXPECT_EQ(sound->plays, 1) << "one sale, one ring";
        for (int i = 0; i < 2; ++i) {
            const auto &call = server.calls[i];
            const PaymentEvent &ev = expected[i];
            EXPECT_EQ(call.appName, u"Quorvane"_s);
            EXPECT_EQ(call.appIcon, u"file:///icons/quorvane.png"_s);
            EXPECT_EQ(call.summary, NotificationText::title(ev.kind));
            EXPECT_EQ(call.identifier, u"quorvane-"_s + ev.id);
            const QString plain = u"Acme & Co\n"_s + NotificationText::amountText(ev) + u" \u2014 "_s + ev.description;
            EXPECT_EQ(call.body, row.capabilities.contains(u"body-markup"_s) ? plain.toHtmlEscaped() : plain);
        }
        EXPECT_EQ(server.calls[0].summary, u"\U0001F4B0 New subscription"_s);
        EXPECT_TRUE(server.calls[0].body.contains(u"$49.00 \u2014 "_s));
        EXPECT_EQ(server.calls[1].summary, u"\u274C Payment failed"_s);
        EXPECT_TRUE(server.calls[1].body.contains(u"\n$12.50 \u2014 "_s)) << "a failed payment has no sign";

        // A billing run: a few notifications, one summary, one ring.
        clock->advance(60);
        for (int i = 0; i < 3000; ++i)
            byType[succeeded].append(paidInvoice(u"in_run%1"_s.arg(i), u"subscription_cycle"_s, now + 40, 1900));
        QCoro::waitFor(e.refresh());
        ASSERT_TRUE(waitUntil([&] { return server.calls.size() >= 7 && sound->plays >= 2; }));
        waitUntil([] { return false; }, 100);
        EXPECT_EQ(server.calls.size(), 7);
        EXPECT_EQ(server.calls.last().summary, u"+2,996 more sales · $56,924"_s);
        EXPECT_EQ(sound->plays, 2);
        engine.reset();
    }
}

TEST(NotificationText, AmountsAreSignedForMoneyGoingOutAndNeverLocalised)
{
    const struct { RevenueKind kind; double amount; const char *currency; QString text; } rows[] = {
        {RevenueKind::Refund, 12.5, "usd", u"-$12.50"_s},
        {RevenueKind::New, 4999, "inr", u"4999.00 INR"_s},
        {RevenueKind::Churn, 12.5, "EUR", u"-12.50 EUR"_s},
        {RevenueKind::Failed, 1234567.891, "USD", u"$1234567.89"_s}};
    QLocale::setDefault(QLocale(QLocale::German));
    for (const auto &row : rows) {
        const PaymentEvent e{.amount = row.amount, .currency = QString::fromLatin1(row.currency),
                             .kind = row.kind};
        EXPECT_EQ(NotificationText::amountText(e), row.text);
    }
    QLocale::setDefault(QLocale::c());
    EXPECT_EQ(NotificationText::title(RevenueKind::Churn), u"\u26A0\uFE0F Canceled subscription"_s);
    EXPECT_EQ(NotificationText::title(RevenueKind::Refund), u"\u21A9\uFE0E Refund issued"_s);
}

TEST(SaleSound, CustomFilesComeFirstInTheirOrderThenTheThemeSound)
{
    QTemporaryDir sounds, theme;
    ASSERT_TRUE(QDir(theme.path()).mkpath(u"sounds/freedesktop/stereo"_s));
    const QString themeSound = theme.path() + u"/sounds/freedesktop/stereo/message.oga"_s;
    ASSERT_TRUE(writeFile(themeSound, "OggS"));
    EXPECT_EQ(MediaSaleSound::candidates(sounds.path(), {u"/nonexistent"_s, theme.path()}), QStringList{themeSound});
    for (const char *name : {"sale.mp3", "sale.wav", "sale.ogg"})
        ASSERT_TRUE(writeFile(sounds.path() + u'/' + QLatin1StringView(name), "x"));
    EXPECT_EQ(MediaSaleSound::candidates(sounds.path(), {theme.path()}),
              (QStringList{sounds.path() + u"/sale.wav"_s, sounds.path() + u"/sale.mp3"_s, themeSound}));
    EXPECT_TRUE(MediaSaleSound::candidates(u"/nonexistent"_s, {}).isEmpty());
}

#include "NotificationsTest.moc"
