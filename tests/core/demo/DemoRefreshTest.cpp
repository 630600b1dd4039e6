#include "core/engine/EngineFixture.h"
#include "demo/DemoBusiness.h"
#include "mrr/MrrTracker.h"
#include "support/RecordingNotifier.h"

#include <QCoroTask>

using namespace Qt::StringLiterals;

using DemoRefresh = EngineFixture;

TEST_F(DemoRefresh, RunsWithoutTheNetwork)
{
    // Every provider endpoint is a closed loopback port: one request would fail the load.
    EngineEnvironment env = environment();
    env.endpoints.stripeApi = QUrl(u"http://127.0.0.1:9"_s);
    env.endpoints.paypalLive = env.endpoints.paypalSandbox = env.endpoints.stripeApi;
    const auto notifier = std::make_shared<RecordingNotifier>();
    env.notifier = notifier;
    // Yesterday's MRR was a dollar; the goal is a thousand.
    ASSERT_TRUE(storage().saveMrrSnapshots({{calendar.addingDays(calendar.startOfDay(clock->now()), -1), 1, 1, false}}));
    engine = std::make_unique<RevenueEngine>(env);
    Preferences goal = engine->preferences();
    goal.mrrGoalUsd = 1000;
    engine->setPreferences(goal);
    engine->addDemoAccount();
    engine->addDemoAccount(); // one demo business is enough
    ASSERT_EQ(engine->accounts().size(), 1);
    QCoro::waitFor(engine->refresh());

    EXPECT_FALSE(engine->lastError()) << engine->lastError().value_or(QString()).toStdString();
    EXPECT_EQ(engine->unavailableKinds(), QSet{RevenueKind::Refund}); // refunds are off by default
    const Totals month = engine->totals(TimeRange::Last30Days);
    EXPECT_GT(month.newMRR, 1000);
    EXPECT_GT(month.recurringMRR, month.newMRR);
    EXPECT_GT(month.churn, 0);
    for (const PaymentEvent &e : engine->feed()) // each cancellation names its customer and plan
        EXPECT_TRUE(e.kind != RevenueKind::Churn || (e.customerEmail && e.description.contains(u" canceled "_s)));
    // Its 31–90-day history comes from its charges as a real account's does: nearly every day has revenue.
    const QList<DailyBucket> days = engine->buckets(TimeRange::Last90Days);
    EXPECT_GE(std::count_if(days.cbegin(), days.cbegin() + 58, [](const DailyBucket &d) { return d.recurringMRR > 0; }), 50);
    // The refresh lists its subscriptions too: the MRR pane has a year to show.
    ASSERT_TRUE(waitUntil([&] { return !engine->mrr()->state().months.isEmpty(); }));
    const MrrState &mrr = engine->mrr()->state();
    EXPECT_EQ(mrr.months.size(), 12);
    EXPECT_GT(mrr.summary.mrrUsd, 1000);
    EXPECT_GT(mrr.months.first().movements.newMrr, 0);
    EXPECT_FALSE(mrr.lastError);
    EXPECT_EQ(mrr.goal.text, u"$1000 MRR reached"_s);
    EXPECT_EQ(notifier->summaries.count(u"MRR goal reached: $1000"_s), 1);

    // A sale made while the app runs shows up in the next cycle. Whether a few minutes hold
    // one is up to the account's random seed, so the demo's own schedule says how far to go.
    const DemoBusiness business(DemoBusiness::seedFor(engine->accounts().constFirst().id));
    const qint64 start = clock->now().unixSecondsTruncated();
    qint64 later = start;
    while (business.activity(start + 1, later).charges.isEmpty() && later < start + 86400)
        later += DemoBusiness::liveSlotSeconds;
    ASSERT_LT(later, start + 86400) << "no charge in a day";
    const qsizetype before = engine->feed().size();
    clock->advance(double(later - start));
    QCoro::waitFor(engine->refresh());
    EXPECT_GT(engine->feed().size(), before);
}

// The demo and a second account next to a real one on a loopback Stripe: removing or disabling
// the other account leaves exactly what the real account alone shows.
class AccountIsolation : public EngineFixture
{
protected:
    Account main = stripeAccount(u"Main"_s, u"rk_test_main"_s);
    Account second = stripeAccount(u"Second"_s, u"rk_test_second"_s);
    QHash<QByteArray, QHash<QString, QJsonArray>> rowsByKey; // auth → event type or subscription status → rows

    // What the money of the accounts shows in.
    struct Shown { QList<PaymentEvent> feed; QList<DailyBucket> days; QList<Totals> totals; QString label;
                   QList<AtRiskSub> atRisk; AchievementsState achievements; };
    static void expectSame(const Shown &a, const Shown &b)
    {
        EXPECT_EQ(a.feed, b.feed);
        EXPECT_EQ(a.days, b.days);
        EXPECT_EQ(a.totals, b.totals);
        EXPECT_EQ(a.label, b.label);
        EXPECT_EQ(a.atRisk, b.atRisk);
        EXPECT_EQ(a.achievements, b.achievements);
    }

    static QJsonObject pastDue(const QString &id, qint64 monthlyMinor) // as listed, customer and invoice expanded
    {
        const QJsonObject price{{"unit_amount"_L1, monthlyMinor}, {"recurring"_L1, QJsonObject{{"interval"_L1, "month"_L1}}}};
        return {{"id"_L1, id}, {"currency"_L1, "usd"_L1}, {"customer"_L1, QJsonObject{{"id"_L1, "cus_1"_L1}}},
                {"items"_L1, QJsonObject{{"data"_L1, QJsonArray{QJsonObject{{"price"_L1, price}}}}}},
                {"latest_invoice"_L1, QJsonObject{{"id"_L1, QString(u"in_"_s + id)}, {"status"_L1, "open"_L1},
                                                   {"created"_L1, 1'795'000'000}}}};
    }

    void SetUp() override
    {
        using namespace StripeBodies;
        clock->set(Date::fromUnix(1'795'262'400)); // 2026-11-20 12:00 UTC
        const auto sale = [](const QString &id, qint64 cents, qint64 created) {
            return succeededCharge(u"evt_"_s + id, created, {.id = id, .amount = cents, .created = created}, Shape::Legacy);
        };
        const QString deleted = u"customer.subscription.deleted"_s;
        rowsByKey[stripeAuth(main)] = {
            {u"invoice.payment_succeeded"_s, {paidInvoice(u"evt_in_1"_s, 1'795'200'000, {.id = u"in_1"_s}, Shape::Legacy)}},
            {u"charge.succeeded"_s, {sale(u"ch_1"_s, 50000, 1'795'250'000)}},
            {deleted, {StripeBodies::event(u"evt_gone"_s, deleted, 1'795'230'000, subscription({}, Shape::Legacy), Shape::Legacy)}},
            {u"past_due"_s, {pastDue(u"sub_main"_s, 3000)}}};
        rowsByKey[stripeAuth(second)] = {{u"charge.succeeded"_s, {sale(u"ch_2"_s, 900000, 1'795'240'000)}},
                                         {u"past_due"_s, {pastDue(u"sub_second"_s, 5000)}}};
        stripe.setFallback([this](const RecordedRequest &r) {
            if (r.path.startsWith("/v1/customers/"))
                return FakeResponse::json(200, R"({"id":"cus_QhXy1zA2bC3dE4","object":"customer",)"
                                               R"("email":"ana@example.com","name":"Ana Lima"})");
            const bool events = r.path == "/v1/events";
            const QJsonArray rows = rowsByKey.value(r.header("Authorization")).value(r.query(events ? u"type"_s : u"status"_s));
            return FakeResponse::json(200, StripeBodies::page(rows, false, QString::fromLatin1(r.path)));
        });
    }

    // An engine over `folder` with `accounts`, after a cycle, an at-risk run and the history fill.
    std::unique_ptr<RevenueEngine> settled(const QTemporaryDir &folder, const QList<Account> &accounts)
    {
        EngineEnvironment env = environment();
        env.storage = Storage(folder.path());
        EXPECT_TRUE(env.storage.saveAccounts(accounts));
        auto e = std::make_unique<RevenueEngine>(env);
        QCoro::waitFor(e->refresh());
        QCoro::waitFor(e->runAtRiskRefresh());
        EXPECT_TRUE(waitUntil([&] { return !e->isLoadingHistoricalGap(); }));
        EXPECT_FALSE(e->lastError()) << e->lastError().value_or(QString()).toStdString();
        return e;
    }

    static Shown shown(const RevenueEngine &e)
    {
        QList<Totals> totals;
        for (TimeRange range : {TimeRange::Mtd, TimeRange::Last7Days, TimeRange::Last30Days, TimeRange::Last90Days})
            totals.append(e.totals(range));
        return {e.feed(), e.dailyBuckets(), totals, e.menubarLabel(), e.atRiskSubs(), e.achievements()};
    }
};

TEST_F(AccountIsolation, RemovingOrDisablingAnAccountLeavesExactlyWhatTheOthersShow)
{
    const QTemporaryDir aloneFolder;
    const std::unique_ptr<RevenueEngine> aloneEngine = settled(aloneFolder, {main});
    const Shown alone = shown(*aloneEngine);
    ASSERT_EQ(alone.feed.size(), 3);
    const PaymentEvent churn = byId(alone.feed).value(u"churn_evt_gone"_s);
    EXPECT_EQ(churn.description + u'/' + churn.customerEmail.value(), u"Ana Lima canceled Pro yearly/ana@example.com"_s);
    QCoro::waitFor(aloneEngine->refresh()); // lists the cancellation again: its customer is not asked again
    EXPECT_EQ(stripe.requestsTo("/v1/customers/cus_QhXy1zA2bC3dE4").size(), 1);
    ASSERT_EQ(alone.totals[0], (Totals{500, 20, 10}));
    ASSERT_DOUBLE_EQ(alone.achievements.bestDayUSD, 500);

    const struct { const char *name; bool demo, remove; } rows[] = {
        {"demo removed", true, true}, {"demo disabled", true, false},
        {"real account removed", false, true}, {"real account disabled", false, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const QTemporaryDir folder;
        Account other = row.demo ? Account::newDemoAccount() : second;
        const std::unique_ptr<RevenueEngine> e = settled(folder, {main, other});
        const auto otherRow = std::find_if(e->atRiskSubs().cbegin(), e->atRiskSubs().cend(),
                                           [&](const AtRiskSub &s) { return s.accountId == other.id; });
        ASSERT_NE(otherRow, e->atRiskSubs().cend());
        auto retry = e->retryAtRiskInvoice(*otherRow);
        ASSERT_TRUE(waitUntil([&] { return !e->retryResults().isEmpty(); }));
        const bool paid = e->retryResults().cbegin()->succeeded;
        if (paid) // a paid row shows a moment before it leaves
            clock->advance(RevenueEngine::paidShownSeconds);
        QCoro::waitFor(std::move(retry));
        if (paid) // compared at the same instant as the account alone
            clock->set(clock->now().addingSeconds(-RevenueEngine::paidShownSeconds));
        // A paid demo retry leaves the list at once, and its outcome with it; a declined one stays.
        ASSERT_TRUE(row.demo ? e->retryResults().size() <= 1 : e->retryResults().size() == 1);
        const Shown before = shown(*e);
        ASSERT_TRUE(before.feed.size() > alone.feed.size() && before.atRisk.size() > alone.atRisk.size());
        ASSERT_NE(before.label, alone.label);
        const qsizetype eventRequests = stripe.requestsTo("/v1/events").size();

        other.enabled = false;
        row.remove ? e->removeAccount(other) : e->upsertAccount(other);
        Shown expected = alone;
        // The demo never raised a record; a real account's records are history and stay.
        if (!row.demo)
            expected.achievements = before.achievements;
        expectSame(shown(*e), expected);
        EXPECT_EQ(e->retryResults().size(), 0);
        if (row.remove) {
            EXPECT_EQ(Storage(folder.path()).loadFeed(), alone.feed);
            EXPECT_FALSE(Storage(folder.path()).loadSyncState().contains(other.id));
            continue;
        }
        // Enabled again, it shows everything it had without loading anything.
        other.enabled = true;
        e->upsertAccount(other);
        QCoro::waitFor(e->runAtRiskRefresh());
        expectSame(shown(*e), before);
        EXPECT_EQ(stripe.requestsTo("/v1/events").size(), eventRequests);
    }
}
