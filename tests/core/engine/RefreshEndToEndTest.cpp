// Whole refresh cycles against loopback Stripe and PayPal servers: two Stripe accounts (one
// failing) and one PayPal account, then an incremental second cycle.
#include "EngineFixture.h"
#include "core/paypal/PayPalBodies.h"
#include "support/FaultyDisk.h"
#include "support/RecordingNotifier.h"

using namespace Qt::StringLiterals;
using namespace StripeBodies;

class RefreshEndToEnd : public EngineFixture
{
protected:
    FakeHttpServer paypal;
    const QByteArray invalidKey = error(u"invalid_request_error"_s, {}, u"Invalid API Key provided: rk_test_****"_s);
    // What Stripe answers: events per account key and type, failing keys, paid invoice payments.
    QHash<QByteArray, QHash<QString, QJsonArray>> eventsByKeyAndType; // "Basic ..." → type → events
    QHash<QByteArray, int> failingKeys;                                // "Basic ..." → status
    QHash<QString, QString> invoiceByPayment; // payment intent or charge → the invoice it paid

    Account main = stripeAccount(u"Main"_s, u"rk_test_main"_s);
    Account broken = stripeAccount(u"Broken"_s, u"rk_test_broken"_s), pp = paypalAccount(u"Shop"_s);

    void SetUp() override
    {
        // 2026-11-20 12:00 UTC; the events below happen on 19 and 20 November.
        clock->set(Date::fromUnix(1'795'262'400));
        stripe.setHandler("GET", "/v1/events", [this](const RecordedRequest &r) {
            const QByteArray auth = r.header("Authorization");
            if (failingKeys.contains(auth))
                return FakeResponse::json(failingKeys.value(auth), invalidKey);
            return FakeResponse::json(200, page(eventsByKeyAndType.value(auth).value(r.query(u"type"_s)), false));
        });
        stripe.setHandler("GET", "/v1/customers/cus_QhXy1zA2bC3dE4", [](const RecordedRequest &) {
            return FakeResponse::json(200, R"({"id":"cus_QhXy1zA2bC3dE4","object":"customer","name":"Jenny Rosen"})");
        });
        // Asked by the icon cache; an account without a web site gets no icon.
        stripe.setHandler("GET", "/v1/account", [](const RecordedRequest &) { return FakeResponse::json(200, R"({"id":"acct_1"})"); });
        stripe.setHandler("GET", "/v1/invoice_payments", [this](const RecordedRequest &) {
            QJsonArray data;
            for (auto it = invoiceByPayment.cbegin(); it != invoiceByPayment.cend(); ++it) {
                const QString type = it.key().startsWith(u"pi_"_s) ? u"payment_intent"_s : u"charge"_s;
                data.append(QJsonObject{{"id"_L1, QString(u"inpay_"_s + it.key())}, {"object"_L1, "invoice_payment"_L1},
                                        {"invoice"_L1, it.value()}, {"status"_L1, "paid"_L1},
                                        {"payment"_L1, QJsonObject{{"type"_L1, type}, {type, it.key()}}}});
            }
            return FakeResponse::json(200, page(data, false, u"/v1/invoice_payments"_s));
        });
        paypal.enqueue("POST", "/v1/oauth2/token", FakeResponse::json(200, PayPalBodies::tokenBody()));
        paypal.enqueue("GET", "/v1/reporting/transactions",
                       FakeResponse::json(200, PayPalBodies::pageOf({
                           {"5TY05013RG002845M", "T0006", "2026-11-20T09:30:00+0000", "EUR", "25.00", "S", "Team plan"},
                           {"9PX12345AB678901C", "T0400", "2026-11-20T09:40:00+0000", "EUR", "-100.00", "S", "Withdrawal"},
                           {"1AB23456CD789012E", "T0006", "2026-11-20T09:50:00+0000", "USD", "40.00", "P", "Pending"},
                           {"3ZZ00000AB000000Z", "T0006", "2026-11-20T09:55:00+0000", "USD", "9000000000000.00", "S", "Damaged"},
                       })));
    }

    RevenueEngine &startWith(const QList<Account> &accounts, std::shared_ptr<Notifier> notifier = {})
    {
        EXPECT_TRUE(storage().saveAccounts(accounts));
        EngineEnvironment env = environment();
        env.endpoints.paypalLive = env.endpoints.paypalSandbox = paypal.baseUrl();
        env.notifier = std::move(notifier);
        return start(env);
    }

    // One of the main account's events, listed under its own type.
    void add(const QJsonObject &event)
    {
        eventsByKeyAndType[stripeAuth(main)][event.value("type"_L1).toString()].append(event);
    }
};

TEST_F(RefreshEndToEnd, TwoStripeAccountsOneFailingAndPayPalThenAnIncrementalCycle)
{
    // The failing account's first answer stops its other listings; none of it may reach the console.
    const WarningCollector console;
    // Legacy shape: a first invoice whose charge names it (the charge query drops it).
    add(paidInvoice(u"evt_1"_s, 1'795'160'000,
                    {.id = u"in_legacy"_s, .amountPaid = 2000, .created = 1'795'150'000,
                     .billingReason = u"subscription_create"_s, .charge = u"ch_legacy"_s, .paymentIntent = u"pi_legacy"_s},
                    Shape::Legacy));
    add(succeededCharge(u"evt_2"_s, 1'795'159'990,
                        {.id = u"ch_legacy"_s, .invoice = u"in_legacy"_s, .paymentIntent = u"pi_legacy"_s}, Shape::Legacy));
    // Current shape: a renewal and its charge, linked only by Stripe's invoice payments.
    add(paidInvoice(u"evt_3"_s, 1'795'200'010,
                    {.id = u"in_current"_s, .amountPaid = 4900, .currency = u"eur"_s, .created = 1'795'199'000,
                     .customer = u"cus_eu"_s},
                    Shape::Current));
    add(succeededCharge(u"evt_4"_s, 1'795'200'000,
                        {.id = u"ch_current"_s, .amount = 4900, .currency = u"eur"_s, .created = 1'795'200'000,
                         .customer = u"cus_eu"_s, .paymentIntent = u"pi_current"_s, .description = u"Subscription update"_s},
                        Shape::Current));
    // A real one-off sale in the current shape: Stripe's invoice payments know no invoice for it.
    add(succeededCharge(u"evt_5"_s, 1'795'210'000,
                        {.id = u"ch_sale"_s, .amount = 9900, .created = 1'795'210'000, .customer = u"cus_one"_s,
                         .paymentIntent = u"pi_sale"_s, .description = u"Lifetime licence"_s},
                        Shape::Current));
    // A legacy-shape sale says "invoice": null itself and costs no look-up.
    add(succeededCharge(u"evt_5b"_s, 1'795'211'000,
                        {.id = u"ch_legacy_sale"_s, .amount = 1500, .created = 1'795'211'000, .customer = u"cus_two"_s,
                         .paymentIntent = u"pi_legacy_sale"_s, .description = u"Sticker pack"_s},
                        Shape::Legacy));
    // A record that does not decode is left out and counted; the rest of its page is used.
    add(StripeBodies::event(u"evt_5c"_s, u"charge.succeeded"_s, 1'795'212'000,
                            QJsonObject{{"id"_L1, "ch_bad"_L1}, {"amount"_L1, "12.00"_L1}}, Shape::Current));
    // Yen are whole units: 5000 is ¥5000.
    add(paidInvoice(u"evt_6"_s, 1'795'220'000,
                    {.id = u"in_yen"_s, .amountPaid = 5000, .currency = u"jpy"_s, .created = 1'795'220'000,
                     .billingReason = u"manual"_s, .customerName = u"Kaito"_s, .subscription = {}, .lineDescription = {}},
                    Shape::Legacy));
    add(StripeBodies::event(u"evt_7"_s, u"customer.subscription.deleted"_s, 1'795'230'000,
                            subscription({}, Shape::Current), Shape::Current));
    add(StripeBodies::event(u"evt_8"_s, u"invoice.payment_failed"_s, 1'795'240'000,
                            invoice({.id = u"in_failed"_s, .amountPaid = 0, .created = 1'795'240'000, .amountDue = 1500},
                                    Shape::Current),
                            Shape::Current));
    invoiceByPayment.insert(u"pi_current"_s, u"in_current"_s);
    failingKeys.insert(stripeAuth(broken), 401);

    RevenueEngine &e = startWith({main, broken, pp});
    QStringList progress;
    QObject::connect(&e, &RevenueEngine::refreshProgressChanged, [&] {
        if (e.refreshProgress())
            progress.append(*e.refreshProgress());
    });

    QCoro::waitFor(e.refresh());

    ASSERT_TRUE(stripe.unexpected().isEmpty());
    const auto events = byId(e.feed());
    EXPECT_EQ(events.keys(), (QStringList{u"5TY05013RG002845M"_s, u"ch_legacy_sale"_s, u"ch_sale"_s, u"churn_evt_7"_s, u"failed_evt_8"_s,
                                          u"in_current"_s, u"in_legacy"_s, u"in_yen"_s}));
    ASSERT_EQ(e.feed().size(), events.size()) << "every payment appears once";
    const struct { const char *id; RevenueKind kind; double amount, usd; const char *description; } expected[] = {
        {"in_legacy", RevenueKind::New, 20, 20, "1 × Pro (at $20.00 / month)"},
        {"in_current", RevenueKind::Recurring, 49, 52.92, "1 × Pro (at $20.00 / month)"},
        {"ch_sale", RevenueKind::New, 99, 99, "Lifetime licence"},
        {"in_yen", RevenueKind::Recurring, 5000, 32, "Kaito"},
        {"churn_evt_7", RevenueKind::Churn, 10, 10, "Jenny Rosen canceled Pro yearly"},
        {"failed_evt_8", RevenueKind::Failed, 15, 15, "1 × Pro (at $20.00 / month)"},
        {"5TY05013RG002845M", RevenueKind::Recurring, 25, 27, "Team plan"},
    };
    for (const auto &x : expected) {
        SCOPED_TRACE(x.id);
        ASSERT_TRUE(events.contains(QString::fromLatin1(x.id)));
        const PaymentEvent ev = events.value(QString::fromLatin1(x.id));
        EXPECT_EQ(ev.kind, x.kind);
        EXPECT_DOUBLE_EQ(ev.amount, x.amount);
        EXPECT_NEAR(ev.usdAmount, x.usd, 1e-9);
        EXPECT_EQ(ev.description, QString::fromUtf8(x.description));
    }
    EXPECT_EQ(events.value(u"in_legacy"_s).dashboardURL, u"https://dashboard.stripe.com/payments/ch_legacy"_s);
    EXPECT_EQ(events.value(u"in_current"_s).dashboardURL, u"https://dashboard.stripe.com/invoices/in_current"_s);
    EXPECT_EQ(events.value(u"in_legacy"_s).date, Date::fromUnix(1'795'160'000)) << "the time Stripe reported the payment";

    EXPECT_EQ(e.lastError(), std::optional<QString>(u"[Broken] Stripe HTTP 401: "_s + QString::fromUtf8(invalidKey)));
    EXPECT_EQ(e.unavailableKinds(), QSet<RevenueKind>{RevenueKind::Refund}) << "refunds are off by default";
    EXPECT_EQ(e.skippedRecords(), (QHash<QUuid, qsizetype>{{main.id, 1}, {pp.id, 1}}));
    EXPECT_EQ(e.totals(TimeRange::Mtd), (Totals{20 + 99 + 15, 52.92 + 32 + 27, 10}));
    EXPECT_EQ(e.menubarLabel(), u"$245"_s);
    ASSERT_GE(progress.size(), 4);
    EXPECT_EQ(progress.first(), u"Fetching events · 0 of 3"_s);
    EXPECT_TRUE(progress.last().startsWith(u"Events · 3 of 3 · finished "_s));
    EXPECT_FALSE(e.isLoading());
    EXPECT_FALSE(e.refreshProgress().has_value());

    const QHash<QUuid, Date> synced = storage().loadSyncState();
    EXPECT_EQ(QSet<QUuid>(synced.keyBegin(), synced.keyEnd()), (QSet<QUuid>{main.id, pp.id}))
        << "a failed account asks again from the same point";
    EXPECT_EQ(storage().loadFeed(), e.feed());

    // Each Stripe load lists invoice payments once, from an hour before its window, and looks up the current-shape sale
    // nothing linked. (The failing account's listing may be stopped before it is sent.)
    const QByteArray paymentsSince = "created%5Bgte%5D="
        + QByteArray::number(calendar.addingDays(calendar.startOfDay(clock->now()), -30).unixSecondsTruncated() - 3600);
    const auto payments = stripe.requestsTo("/v1/invoice_payments");
    EXPECT_EQ(std::count_if(payments.cbegin(), payments.cend(),
                            [&](const RecordedRequest &r) { return r.header("Authorization") == stripeAuth(main); }),
              2);
    for (const RecordedRequest &r : payments)
        EXPECT_TRUE(r.rawQuery.endsWith(paymentsSince) || r.query(u"payment[payment_intent]"_s) == u"pi_sale"_s);

    // Second cycle a minute later: windows start 300 s before the last sync.
    stripe.clearRecords();
    clock->advance(60);
    QCoro::waitFor(e.refresh());
    const QByteArray expectedGte = "created%5Bgte%5D=" + QByteArray::number(1'795'262'400 - 300);
    bool sawIncremental = false;
    for (const RecordedRequest &r : stripe.requestsTo("/v1/events"))
        if (r.header("Authorization") == stripeAuth(main)) {
            EXPECT_TRUE(r.rawQuery.contains(expectedGte)) << r.rawQuery.toStdString();
            sawIncremental = true;
        }
    EXPECT_TRUE(sawIncremental);
    EXPECT_EQ(byId(e.feed()).keys(), events.keys());
    EXPECT_EQ(console.text(), "");
}

TEST_F(RefreshEndToEnd, AChargeStoredBeforeItsInvoiceArrivedIsReplacedByTheInvoice)
{
    // First cycle: Stripe has reported the current-shape charge but not yet its invoice, nor
    // marked its invoice payment paid: it looks like a sale.
    add(succeededCharge(u"evt_c"_s, 1'795'262'000,
                        {.id = u"ch_race"_s, .amount = 2000, .created = 1'795'262'000, .customer = u"cus_r"_s,
                         .paymentIntent = u"pi_race"_s},
                        Shape::Current));
    RevenueEngine &e = startWith({main});
    QCoro::waitFor(e.refresh());
    ASSERT_EQ(byId(e.feed()).keys(), QStringList{u"ch_race"_s});

    // Next cycle: the invoice and its paid invoice payment are there too.
    invoiceByPayment.insert(u"pi_race"_s, u"in_race"_s);
    add(paidInvoice(u"evt_i"_s, 1'795'262'008,
                    {.id = u"in_race"_s, .amountPaid = 2000, .created = 1'795'261'990, .customer = u"cus_r"_s},
                    Shape::Current));
    clock->advance(60);
    QCoro::waitFor(e.refresh());
    EXPECT_EQ(byId(e.feed()).keys(), QStringList{u"in_race"_s}) << "the payment must not count twice";
    EXPECT_DOUBLE_EQ(e.totals(TimeRange::Mtd).recurringMRR + e.totals(TimeRange::Mtd).newMRR, 20);
}

TEST_F(RefreshEndToEnd, AllAccountsFailingKeepsTheFeedAndReportsEachLine)
{
    failingKeys.insert(stripeAuth(main), 500);
    ASSERT_TRUE(storage().saveFeed({event(u"kept"_s, clock->now().addingSeconds(-30 * 86400.0), RevenueKind::New, 5)}));
    RevenueEngine &e = startWith({main});
    QCoro::waitFor(e.refresh());
    EXPECT_EQ(e.lastError(), std::optional<QString>(u"[Main] Stripe HTTP 500: "_s + QString::fromUtf8(invalidKey)));
    EXPECT_EQ(e.feed().size(), 1);
    EXPECT_FALSE(e.lastRefreshed().has_value());
    EXPECT_EQ(e.unavailableKinds().size(), 5);
}

TEST_F(RefreshEndToEnd, CancellingARunningCycleAppliesNothingAndRestartsTheLoops)
{
    stripe.setHandler("GET", "/v1/events", [](const RecordedRequest &) { return FakeResponse::hang(); });
    stripe.setHandler("GET", "/v1/subscriptions", [](const RecordedRequest &) {
        return FakeResponse::json(200, StripeBodies::page({}, false, u"/v1/subscriptions"_s)); // nothing at risk
    });
    RevenueEngine &e = startWith({main});
    e.triggerRefresh();
    ASSERT_TRUE(waitUntil([&] { return stripe.requests().size() >= 2; }));
    ASSERT_TRUE(e.isLoading());
    QList<bool> loading;
    QObject::connect(&e, &RevenueEngine::isLoadingChanged, [&] {
        loading.append(e.isLoading());
        if (!e.isLoading()) {
            EXPECT_FALSE(e.refreshProgress().has_value());
            EXPECT_FALSE(e.refreshStartTime().has_value());
        }
    });
    e.cancelCurrentRefresh();
    // Cleared at once, then the restarted loop begins a fresh cycle straight away.
    EXPECT_EQ(loading, (QList<bool>{false, true}));
    EXPECT_TRUE(waitUntil([&] { return stripe.requests().size() >= 4; }));
    VirtualClock::settle();
    EXPECT_TRUE(e.isLoading()) << "the cancelled cycle's closing step must not end the new one";
    EXPECT_FALSE(e.lastError().has_value());
    EXPECT_TRUE(e.feed().isEmpty());
    EXPECT_FALSE(storage().loadSyncState().contains(main.id));
}

TEST_F(RefreshEndToEnd, OnlyUnseenRecentEventsAreHandedToTheNotifier)
{
    const qint64 now = 1'795'262'400;
    // permissionRequests: at start-up, and on the first hand-off when nothing was stored
    const struct { const char *name; bool storedFeed, notificationsOn, privacyMode; QStringList expected;
        int permissionRequests; } rows[] = {
        {"first cycle without a stored feed only learns", false, true, false, {}, 2},
        {"after a stored feed: new and recent only", true, true, false, {u"in_fresh"_s}, 1},
        {"privacy mode hides nothing from notifications", true, true, true, {u"in_fresh"_s}, 1},
        {"switched off: nothing", true, false, false, {}, 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        QTemporaryDir fresh;
        dir.swap(fresh);
        eventsByKeyAndType.clear();
        add(paidInvoice(u"evt_stored"_s, now - 100, {.id = u"in_stored"_s, .created = now - 100}, Shape::Current));
        add(paidInvoice(u"evt_fresh"_s, now - 120, {.id = u"in_fresh"_s, .created = now - 120}, Shape::Current));
        add(paidInvoice(u"evt_old"_s, now - 3600, {.id = u"in_old"_s, .created = now - 3600}, Shape::Current));
        // The ancient event makes the stored feed cover 25 days, so it does not reset the sync state.
        if (row.storedFeed)
            ASSERT_TRUE(storage().saveFeed({event(u"in_stored"_s, Date::fromUnix(now - 100), RevenueKind::Recurring, 20, main.id),
                                            event(u"ancient"_s, Date::fromUnix(now - 40 * 86400), RevenueKind::New, 1, main.id)}));
        Preferences p = Preferences::defaults(clock->now(), calendar);
        p.showNotifications = row.notificationsOn;
        p.privacyMode = row.privacyMode;
        ASSERT_TRUE(storage().savePreferences(p));
        auto notifier = std::make_shared<RecordingNotifier>();
        RevenueEngine &e = startWith({main}, notifier);
        QCoro::waitFor(e.refresh());
        ASSERT_EQ(e.feed().size(), row.storedFeed ? 4 : 3);
        EXPECT_EQ(notifier->notifiedIds(), row.expected);
        EXPECT_EQ(notifier->permissionRequests, row.permissionRequests);

        // The same events again later are never announced, whatever the switch says now.
        notifier->batches.clear();
        p.showNotifications = true;
        e.setPreferences(p);
        clock->advance(60);
        QCoro::waitFor(e.refresh());
        EXPECT_TRUE(notifier->notifiedIds().isEmpty());
        engine.reset();
    }
}

TEST_F(RefreshEndToEnd, ASaveOnAFullDiskIsShownRetriedAndHoldsTheSyncStateBack)
{
    add(succeededCharge(u"evt_s"_s, 1'795'262'000,
                        {.id = u"ch_s"_s, .amount = 2000, .created = 1'795'262'000, .customer = u"cus_s"_s},
                        Shape::Current));
    RevenueEngine &e = startWith({main});
    const QByteArray accountsBefore = readFile(storage().pathOf(Storage::accountsFile));
    {
        FaultyDisk::Armed full(dir.path(), {.error = ENOSPC, .bytesAccepted = 0});
        QCoro::waitFor(e.refresh());
        Account renamed = main;
        renamed.name = u"Renamed"_s;
        e.upsertAccount(renamed);
        Preferences slower = e.preferences();
        slower.refreshSeconds = 600;
        e.setPreferences(slower);
    }
    EXPECT_EQ(byId(e.feed()).keys(), QStringList{u"ch_s"_s});
    EXPECT_EQ(e.lastError(), std::optional<QString>(u"Couldn't save your accounts: the disk is full · Couldn't save your "
                                                    "settings: the disk is full · Couldn't save the latest events: the "
                                                    "disk is full · Couldn't save your records: the disk is full"_s));
    EXPECT_EQ(readFile(storage().pathOf(Storage::accountsFile)), accountsBefore);
    EXPECT_TRUE(storage().loadFeed().isEmpty());
    EXPECT_TRUE(storage().loadSyncState().isEmpty()) << "the sale was never saved: it must be asked for again";

    // The next cycle saves everything and asks again from where the saved state left off.
    stripe.clearRecords();
    clock->advance(60);
    QCoro::waitFor(e.refresh());
    EXPECT_FALSE(e.lastError().has_value());
    EXPECT_EQ(storage().loadAccounts().value(0).name, u"Renamed"_s);
    EXPECT_EQ(storage().loadPreferences().value_or(Preferences()).refreshSeconds, 600);
    EXPECT_EQ(byId(storage().loadFeed()).keys(), QStringList{u"ch_s"_s});
    EXPECT_EQ(storage().loadSyncState().keys(), QList<QUuid>{main.id});
    const QByteArray bootstrapGte = "created%5Bgte%5D="
        + QByteArray::number(calendar.addingDays(calendar.startOfDay(clock->now()), -30).unixSecondsTruncated());
    for (const RecordedRequest &r : stripe.requestsTo("/v1/events"))
        EXPECT_TRUE(r.rawQuery.contains(bootstrapGte)) << r.rawQuery.toStdString();
}

TEST_F(RefreshEndToEnd, ABillingRunIsAnnouncedInAFewNotificationsAndOneSummaryThatRingsOnce)
{
    const qint64 now = 1'795'262'400;
    for (int i = 0; i < 3000; ++i)
        add(succeededCharge(u"evt_%1"_s.arg(i), now - 500 + i / 10,
                            {.id = u"ch_%1"_s.arg(i), .amount = 1900, .created = now - 500 + i / 10,
                             .customer = u"cus_%1"_s.arg(i)},
                            Shape::Current));
    ASSERT_TRUE(storage().saveFeed({event(u"ancient"_s, Date::fromUnix(now - 40 * 86400), RevenueKind::New, 1, main.id)}));
    auto notifier = std::make_shared<RecordingNotifier>();
    RevenueEngine &e = startWith({main}, notifier);
    QCoro::waitFor(e.refresh());
    ASSERT_EQ(e.feed().size(), 3001);
    ASSERT_EQ(notifier->batches.size(), 1);
    EXPECT_EQ(notifier->batches[0].size(), NotifierBookkeeping::maxSingleNotifications);
    EXPECT_EQ(notifier->summaries, QStringList{u"+2,996 more sales · $56,924"_s}); // 2,996 × $19
    EXPECT_EQ(notifier->rings, 1);
}

TEST_F(RefreshEndToEnd, AWallClockSteppedForOneRefreshPurgesNothingAndIsForgottenOnceRight)
{
    const Date today = clock->now();
    QList<PaymentEvent> stored;
    for (int day = 1; day <= 60; ++day)
        stored.append(event(u"in_%1"_s.arg(day), today.addingSeconds(-day * 86400.0), RevenueKind::Recurring, 10, main.id));
    ASSERT_TRUE(storage().saveFeed(stored));
    RevenueEngine &e = startWith({main});
    // Ahead by less than the retention, back, then far ahead: each for one refresh, a minute
    // apart so that the request budget refills.
    for (const int stepDays : {60, -60, 400}) {
        SCOPED_TRACE(stepDays);
        clock->advance(60);
        clock->set(today.addingSeconds(stepDays * 86400.0));
        QCoro::waitFor(e.refresh());
        EXPECT_EQ(e.feed(), stored);
        EXPECT_EQ(storage().loadFeed(), stored);
    }

    // Corrected: the sync state written 400 days ahead is dropped and the window loads again.
    clock->advance(60);
    clock->set(today.addingSeconds(60));
    stripe.clearRecords();
    QCoro::waitFor(e.refresh());
    const QByteArray bootstrapGte = "created%5Bgte%5D="
        + QByteArray::number(calendar.addingDays(calendar.startOfDay(clock->now()), -30).unixSecondsTruncated());
    const auto listings = stripe.requestsTo("/v1/events");
    ASSERT_FALSE(listings.isEmpty());
    for (const RecordedRequest &r : listings)
        EXPECT_TRUE(r.rawQuery.contains(bootstrapGte)) << r.rawQuery.toStdString();
    EXPECT_LE(storage().loadSyncState().value(main.id), clock->now());
    EXPECT_EQ(e.feed(), stored);
}
