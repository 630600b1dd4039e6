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
#include <QDBusMessage>
#include <QDesktopServices>
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
    struct Call { QString appName, appIcon, summary, body, identifier; QStringList actions; QVariantMap hints; };
    QList<Call> calls;
    QStringList capabilities{u"body"_s};

public Q_SLOTS:
    QStringList GetCapabilities() { return capabilities; }
    uint Notify(const QString &appName, uint, const QString &appIcon, const QString &summary, const QString &body,
                const QStringList &actions, const QVariantMap &hints, int)
    {
        calls.append({appName, appIcon, summary, body, hints.value(u"x-quorvane-id"_s).toString(), actions, hints});
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
    QString file() const override { return u"/sounds/sale.wav"_s; }
};

// A private session bus with the recording server on it, and the notifier's own connection.
struct NotificationBus
{
    ChildProcess daemon;
    QDBusConnection serverSide{QString()}, clientSide{QString()};
    RecordingNotificationServer server;

    bool start()
    {
        const QString address = startSessionBus(daemon);
        serverSide = QDBusConnection::connectToBus(address, u"notification-server"_s);
        clientSide = QDBusConnection::connectToBus(address, u"notifier"_s);
        const QString path = u"/org/freedesktop/Notifications"_s;
        return !address.isEmpty() && serverSide.registerObject(path, &server, QDBusConnection::ExportAllSlots);
    }
    ~NotificationBus()
    {
        QDBusConnection::disconnectFromBus(u"notification-server"_s);
        QDBusConnection::disconnectFromBus(u"notifier"_s);
    }
    void invoke(uint id, const QString &action)
    {
        serverSide.send(QDBusMessage::createSignal(u"/org/freedesktop/Notifications"_s, u"org.freedesktop.Notifications"_s,
                                                   u"ActionInvoked"_s) << id << action);
    }
};

const QStringList plainActions{u"default"_s, u"Open"_s};
const QStringList stripeActions = plainActions + QStringList{u"open-dashboard"_s, u"Open in Stripe"_s};

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
    if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed";
    NotificationBus bus;
    ASSERT_TRUE(bus.start());
    RecordingNotificationServer &server = bus.server;

    const qint64 now = qint64(clock->now().unixSeconds());
    QHash<QString, QJsonArray> byType;
    FakeHttpServer stripe;
    stripe.setHandler("GET", "/v1/events", [&](const RecordedRequest &r) {
        return FakeResponse::json(200, page(byType.value(r.query(u"type"_s)), false));
    });
    stripe.setFallback([](const RecordedRequest &r) { return FakeResponse::json(200, page({}, false, QString::fromUtf8(r.path))); });
    const Account acme{.name = u"Acme & Co"_s, .stripeRestrictedKey = u"rk_test_notify"_s};

    const struct { const char *name; bool serverOnBus; QStringList capabilities; bool saleSound = true; bool privacy = false; } rows[] = {
        {"plain bodies", true, {u"body"_s}},
        {"markup bodies are escaped", true, {u"body"_s, u"body-markup"_s}},
        {"the server rings and offers actions", true, {u"body"_s, u"actions"_s, u"sound"_s}},
        {"sale sound off", true, {u"body"_s}, false},
        {"privacy mode: the account alone, no amount", true, {u"body"_s, u"body-markup"_s}, true, true},
        {"no server: nothing posted, nothing rings", false, {}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        if (row.serverOnBus)
            ASSERT_TRUE(bus.serverSide.registerService(u"org.freedesktop.Notifications"_s));
        else
            bus.serverSide.unregisterService(u"org.freedesktop.Notifications"_s);
        server.calls.clear();
        server.capabilities = row.capabilities;
        byType.clear();
        QTemporaryDir data;
        dir.swap(data);
        ASSERT_TRUE(storage().saveAccounts({acme}));

        auto sound = std::make_shared<CountingSound>();
        auto notifier = std::make_shared<FreedesktopNotifier>(bus.clientSide, sound);
        notifier->setAppIcon(u"file:///icons/quorvane.png"_s);
        notifier->setSaleSound(row.saleSound);
        EngineEnvironment env = environment();
        env.endpoints.stripeApi = stripe.baseUrl();
        env.notifier = notifier;
        RevenueEngine &e = *(engine = std::make_unique<RevenueEngine>(env));
        Preferences preferences = e.preferences();
        preferences.privacyMode = row.privacy;
        e.setPreferences(preferences);

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
        ASSERT_TRUE(waitUntil([&] { return server.calls.size() >= 2; }));
        waitUntil([] { return false; }, 100);
        ASSERT_EQ(server.calls.size(), 2);
        // The sound goes with the notification where the server plays sounds, so its
        // do-not-disturb mutes it too; elsewhere the program plays it: one sale, one ring.
        const bool serverRings = row.capabilities.contains(u"sound"_s);
        EXPECT_EQ(sound->plays, row.saleSound && !serverRings ? 1 : 0);
        for (int i = 0; i < 2; ++i) {
            const auto &call = server.calls[i];
            const PaymentEvent &ev = expected[i];
            EXPECT_EQ(std::pair(call.appName, call.appIcon), std::pair(u"Quorvane"_s, u"file:///icons/quorvane.png"_s));
            EXPECT_EQ(call.summary, NotificationText::title(ev.kind));
            EXPECT_EQ(call.identifier, u"quorvane-"_s + ev.id);
            EXPECT_EQ(call.hints.value(u"desktop-entry"_s).toString(), u"app.quorvane.Quorvane"_s);
            const bool rings = row.saleSound && serverRings && NotificationText::isSale(ev.kind);
            EXPECT_EQ(call.hints.value(u"sound-file"_s).toString(), rings ? u"/sounds/sale.wav"_s : QString());
            EXPECT_EQ(call.actions, row.capabilities.contains(u"actions"_s) ? stripeActions : plainActions);
            const QString plain = row.privacy ? u"Acme & Co"_s
                                              : u"Acme & Co\n"_s + NotificationText::amountText(ev) + u" \u2014 "_s + ev.description;
            EXPECT_EQ(call.body, row.capabilities.contains(u"body-markup"_s) ? plain.toHtmlEscaped() : plain);
        }
        if (row.privacy) {
            engine.reset();
            continue;
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
        const int ownRings = row.saleSound && !serverRings ? 2 : 0;
        ASSERT_TRUE(waitUntil([&] { return server.calls.size() >= 7 && sound->plays >= ownRings; }));
        waitUntil([] { return false; }, 100);
        EXPECT_EQ(server.calls.size(), 7);
        EXPECT_EQ(server.calls.last().summary, u"+2,996 more sales · $56,924"_s);
        EXPECT_EQ(sound->plays, ownRings);
        const auto hinted = std::count_if(server.calls.begin() + 2, server.calls.end(),
                                          [](const auto &c) { return c.hints.contains(u"sound-file"_s); });
        EXPECT_EQ(hinted, row.saleSound && serverRings ? 1 : 0);
        engine.reset();
    }
}

// Where links to the provider go instead of a browser.
class LinkRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl &url) { opened.append(url); }
};

TEST_F(AppFixture, ClickingANotificationOpensThePanelOnItsEventAndItsButtonTheStripePage)
{
    if (QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
        GTEST_SKIP() << "dbus-daemon is not installed";
    NotificationBus bus;
    ASSERT_TRUE(bus.start());
    ASSERT_TRUE(bus.serverSide.registerService(u"org.freedesktop.Notifications"_s));
    bus.server.capabilities = {u"body"_s, u"actions"_s, u"sound"_s};
    const Account acme{.name = u"Acme"_s};
    PaymentEvent sale = event(u"in_sale"_s, daysAgo(0.01), RevenueKind::New, 49, acme.id);
    sale.dashboardURL = u"https://dashboard.stripe.com/invoices/in_sale"_s;
    ASSERT_TRUE(storage().saveAccounts({acme}));
    ASSERT_TRUE(storage().saveFeed({event(u"in_older"_s, daysAgo(1), RevenueKind::Recurring, 29, acme.id), sale}));

    auto sound = std::make_shared<CountingSound>();
    auto notifier = std::make_shared<FreedesktopNotifier>(bus.clientSide, sound);
    AppOptions options = appOptions();
    options.environment.notifier = notifier;
    QuorvaneApp app(options);
    ASSERT_TRUE(app.start());
    app.general()->setSaleSound(false); // the switch reaches the notifier: no sound with the notification
    notifier->notify({.events = {sale}, .rings = true});
    ASSERT_TRUE(waitUntil([&] { return bus.server.calls.size() == 1; }));
    EXPECT_FALSE(bus.server.calls[0].hints.contains(u"sound-file"_s));
    EXPECT_EQ(sound->plays, 0);
    EXPECT_EQ(bus.server.calls[0].actions, stripeActions);

    app.navigation()->showAchievements();
    EXPECT_FALSE(app.window()->isVisible());
    bus.invoke(2, u"default"_s); // another notification's click is not ours
    bus.invoke(1, u"default"_s);
    ASSERT_TRUE(waitUntil([&] { return app.window()->isVisible(); }));
    EXPECT_EQ(app.navigation()->paneName(), u"dashboard"_s);
    EXPECT_EQ(app.dashboard()->feed()->expandedEventId(), sale.id);

    LinkRecorder links;
    QDesktopServices::setUrlHandler(u"https"_s, &links, "open");
    bus.invoke(1, u"open-dashboard"_s);
    waitUntil([&] { return !links.opened.isEmpty(); });
    QDesktopServices::unsetUrlHandler(u"https"_s);
    EXPECT_EQ(links.opened, QList<QUrl>{QUrl(*sale.dashboardURL)});
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
                             .kind = row.kind, .description = u"1 × Pro (at 49.90 / month)"_s};
        EXPECT_EQ(NotificationText::amountText(e), row.text);
        EXPECT_EQ(NotificationText::body(e, false), row.text + u" \u2014 1 × Pro (at 49.90 / month)"_s);
        EXPECT_EQ(NotificationText::body(e, true), QString()) << "privacy mode: neither the amount nor a quoted price";
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
