// At-risk subscriptions: valuing and ordering them, listing them per account and status
// against a loopback Stripe, and retrying their invoices with the spacing in virtual time.
#include "EngineFixture.h"
#include "engine/AtRiskRefresh.h"
#include "engine/AtRiskSubscriptions.h"
#include "engine/StripeSources.h"
#include "engine/InvoiceRetry.h"
#include "model/CurrencyConverter.h"

using namespace Qt::StringLiterals;

namespace {

ExpandedSubscription subscription(const QString &id, qint64 monthlyMinor, const QString &currency,
                                  std::optional<qint64> created = {}, std::optional<qint64> periodEnd = {},
                                  std::optional<ExpandedSubscription::LatestInvoice> latest = {},
                                  std::optional<qint64> quantity = {})
{
    const RawSubscription::SubscriptionPrice price{.unit_amount = monthlyMinor, .recurring = {{u"month"_s, 1}}};
    return {.id = id, .created = created, .current_period_end = periodEnd, .currency = currency,
            .items = RawSubscription::SubscriptionItems{{{price, std::nullopt, quantity}}}, .latest_invoice = latest};
}

// A subscription as GET /v1/subscriptions lists it, with customer, latest invoice and its last
// charge expanded; like a real one, its period ends in the future although it is unpaid.
QJsonObject listed(const QString &id, qint64 unitMinor, const QString &invoiceId, qint64 quantity = 1)
{
    const QJsonObject price{{"unit_amount"_L1, unitMinor},
                            {"recurring"_L1, QJsonObject{{"interval"_L1, "month"_L1}, {"interval_count"_L1, 1}}}};
    const QJsonObject item{{"price"_L1, price}, {"quantity"_L1, quantity}, {"current_period_end"_L1, 1'799'000'000}};
    const QJsonObject invoice{{"id"_L1, invoiceId}, {"status"_L1, "open"_L1}, {"created"_L1, 1'771'000'000},
                              {"due_date"_L1, QJsonValue::Null}, {"next_payment_attempt"_L1, QJsonValue::Null},
                              {"charge"_L1, QJsonObject{{"id"_L1, "ch_last"_L1}, {"created"_L1, 1'772'000'000}}}};
    return {{"id"_L1, id}, {"object"_L1, "subscription"_L1}, {"created"_L1, 1'770'000'000},
            {"currency"_L1, "usd"_L1},
            {"customer"_L1, QJsonObject{{"id"_L1, "cus_1"_L1}, {"email"_L1, "ana@example.com"_L1}}},
            {"items"_L1, QJsonObject{{"data"_L1, QJsonArray{item}}}}, {"latest_invoice"_L1, invoice}};
}

QStringList ids(const QList<AtRiskSub> &subs)
{
    QStringList out;
    for (const AtRiskSub &s : subs)
        out.append(s.accountName + u'/' + s.id);
    return out;
}

} // namespace

TEST(AtRiskRefresh, ValuesDatesAndOrdersSubscriptions)
{
    const Date now = Date::fromUnix(1'773'144'000.7);
    Account account = EngineFixture::stripeAccount(u"Main"_s);
    account.stripeAccountId = u"acct_9"_s;
    const qint64 later = 1'775'000'000;
    const double eur = *CurrencyConverter::rate(u"eur");
    const struct { const char *name; ExpandedSubscription sub; const char *status; bool made; double monthlyUSD;
        qint64 since; } rows[] = {
        // Periods end in the future (`later`), as Stripe keeps them while a period goes unpaid.
        {"past due: the next attempt", subscription(u"sub_a"_s, 5000, u"usd"_s, {}, later,
         {{u"in_a"_s, {}, 5000, 1'773'500'000, 1'772'000'000, {}, {{{}, 1'773'000'000}}}}), "past_due", true, 50, 1'773'500'000},
        {"past due, no retry planned: the last attempt", subscription(u"sub_g"_s, 100, u"usd"_s, {}, later,
         {{u"in_g"_s, {}, {}, {}, 1'772'000'000, {}, {{{}, 1'773'000'000}}}}), "past_due", true, 1, 1'773'000'000},
        {"unpaid: the last attempt; euro rate", subscription(u"sub_b"_s, 1000, u"EUR"_s, 1'770'000'000, later,
         {{u"in_b"_s, {}, {}, 1'773'600'000, 1'771'000'000, {}, {{{}, 1'772'500'000}}}}), "unpaid", true, 10 * eur, 1'772'500'000},
        {"unpaid sent invoice: its due date", subscription(u"sub_h"_s, 100, u"usd"_s, 1'770'000'000, later,
         {{u"in_h"_s, {}, {}, {}, 1'771'000'000, 1'772'000'000}}), "unpaid", true, 1, 1'772'000'000},
        {"incomplete: the invoice's creation", subscription(u"sub_i"_s, 100, u"usd"_s, 1'770'000'000, later,
         {{u"in_i"_s, {}, {}, {}, 1'773'100'000}}), "incomplete", true, 1, 1'773'100'000},
        {"no invoice: created; unknown currency is worth 0", subscription(u"sub_c"_s, 1000, u"xyz"_s, 1'770'000'000, later),
         "incomplete", true, 0, 1'770'000'000},
        {"no dates: now in whole seconds", subscription(u"sub_d"_s, 100, u"usd"_s), "past_due", true, 1, 1'773'144'000},
        {"nothing a month: left out", subscription(u"sub_e"_s, 0, u"usd"_s), "past_due", false, 0, 0},
        {"a status not asked for", subscription(u"sub_f"_s, 100, u"usd"_s), "active", false, 0, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const auto record = AtRiskRefresh::atRisk(row.sub, account, QString::fromLatin1(row.status), now);
        ASSERT_EQ(record.has_value(), row.made);
        if (!record)
            continue;
        EXPECT_NEAR(record->monthlyUSD, row.monthlyUSD, 1e-9);
        EXPECT_EQ(record->sinceDate.unixSeconds(), double(row.since));
        EXPECT_EQ(record->latestInvoiceId, row.sub.latest_invoice ? row.sub.latest_invoice->id : std::nullopt);
        EXPECT_EQ(record->dashboardURL, QUrl(u"https://dashboard.stripe.com/acct_9/subscriptions/"_s + row.sub.id));
    }

    const auto make = [](const char *id, AtRiskKind kind, double usd) {
        return AtRiskSub{.id = QString::fromLatin1(id), .accountName = u"A"_s, .monthlyUSD = usd, .kind = kind};
    };
    QList<AtRiskSub> subs{make("u_big", AtRiskKind::Unpaid, 900), make("p30", AtRiskKind::PastDue, 30),
                          make("i", AtRiskKind::Incomplete, 5), make("p50", AtRiskKind::PastDue, 50),
                          make("p30b", AtRiskKind::PastDue, 30)};
    AtRiskRefresh::sortForDisplay(subs);
    EXPECT_EQ(ids(subs), (QStringList{u"A/p50"_s, u"A/p30"_s, u"A/p30b"_s, u"A/u_big"_s, u"A/i"_s}));
    EXPECT_DOUBLE_EQ(AtRiskRefresh::monthlyTotalUSD(subs), 1015);
}

TEST(InvoiceRetry, ThrottleWaitsTheRestRoundedUp)
{
    const double last = 1000;
    const struct { std::optional<double> lastAttempt; double secondsLater; std::optional<int> wait; } rows[] = {
        {std::nullopt, 0, std::nullopt}, {last, 0.4, 3}, {last, 1.0, 2}, {last, 2.5, 1}, {last, 3.0, std::nullopt}, {last, 60, std::nullopt}};
    for (const auto &row : rows)
        EXPECT_EQ(InvoiceRetry::throttleWait(row.lastAttempt, last + row.secondsLater, 3.0), row.wait) << row.secondsLater;
    EXPECT_EQ(RetryThrottleError{2}.description(),
              u"Wait 2s before next retry. (Spacing retries avoids flooding customers with emails + Stripe's "
              u"card-testing detection.)"_s);
}

// The at-risk subscriptions alone: their accounts are the fixture's list, their Stripe a
// loopback server.
class AtRiskSubscriptionsTest : public EngineFixture
{
protected:
    Account main = stripeAccount(u"Main"_s, u"rk_main"_s), second = stripeAccount(u"Second"_s, u"rk_second"_s);
    QHash<QString, QJsonArray> byStatus;
    QByteArray failingKey; // this account's "unpaid" listing answers 500
    QList<Account> accounts;
    StripeSources sources{stripe.baseUrl(), clock, std::nullopt, ListingSlices::maxSlices};
    std::unique_ptr<AtRiskSubscriptions> atRisk;

    void SetUp() override
    {
        stripe.setHandler("GET", "/v1/subscriptions", [this](const RecordedRequest &r) {
            const QString status = r.query(u"status"_s);
            if (status == u"unpaid"_s && r.header("Authorization") == failingKey)
                return FakeResponse::json(500, StripeBodies::error(u"api_error"_s, {}, u"Boom"_s));
            return FakeResponse::json(200, StripeBodies::page(byStatus.value(status), false, u"/v1/subscriptions"_s));
        });
        byStatus.insert(u"past_due"_s, {listed(u"sub_p"_s, 500, u"in_p"_s, 6), listed(u"sub_q"_s, 5000, u"in_q"_s)});
        byStatus.insert(u"unpaid"_s, {listed(u"sub_u"_s, 9900, u"in_u"_s)});
    }

    AtRiskSubscriptions &startWith(const QList<Account> &with)
    {
        accounts = with;
        atRisk = std::make_unique<AtRiskSubscriptions>(AtRiskSubscriptions::Neighbours{[this] { return accounts; }},
                                                       sources, clock);
        return *atRisk;
    }
};

TEST_F(AtRiskSubscriptionsTest, ListsEveryAccountAndStatusAtOnceAndSkipsAFailingListing)
{
    failingKey = stripeAuth(second);
    AtRiskSubscriptions &e = startWith({main, second});
    QList<int> progress;
    QList<bool> loading;
    QObject::connect(&e, &AtRiskSubscriptions::refreshDoneChanged, [&] { progress.append(e.refreshDone()); });
    QObject::connect(&e, &AtRiskSubscriptions::isLoadingChanged, [&] { loading.append(e.isLoading()); });
    QCoro::waitFor(e.runRefresh());
    EXPECT_EQ(e.refreshTotal(), 6);
    EXPECT_EQ(progress, (QList<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(loading, (QList<bool>{true, false}));
    EXPECT_EQ(stripe.requestsTo("/v1/subscriptions").size(), 6);
    // Past due first, larger first; the second account's unpaid listing failed. Equal entries
    // keep the order their listings finished in, which the network decides.
    QList<double> amounts;
    for (const AtRiskSub &s : e.subs())
        amounts.append(s.monthlyUSD);
    EXPECT_EQ(amounts, (QList<double>{50, 50, 30, 30, 99})) << "six seats at $5 are $30";
    QStringList found = ids(e.subs());
    found.sort();
    EXPECT_EQ(found, (QStringList{u"Main/sub_p"_s, u"Main/sub_q"_s, u"Main/sub_u"_s, u"Second/sub_p"_s, u"Second/sub_q"_s}));
    EXPECT_DOUBLE_EQ(e.monthlyTotalUSD(), 2 * 80 + 99);
    EXPECT_EQ(e.subs().constLast().sinceDate, Date::fromUnix(1'772'000'000)) << "the last attempt";
    const QString error = e.failureText().value_or(QString());
    EXPECT_TRUE(error.startsWith(u"[Second] At-risk subscriptions not listed: Stripe HTTP 500"_s)) << error.toStdString();
    EXPECT_TRUE(error.endsWith(u"next try in 10 min"_s)) << error.toStdString();
    // The failing account is asked again only after twice the usual interval; then the report goes.
    failingKey.clear();
    for (const auto &[wait, requests] : {std::pair{0.0, 3}, std::pair{600.0, 6}}) {
        stripe.clearRecords();
        clock->advance(wait);
        QCoro::waitFor(e.runRefresh());
        EXPECT_EQ(stripe.requestsTo("/v1/subscriptions").size(), requests) << wait;
    }
    EXPECT_FALSE(e.failureText());

    // Disabled accounts take their rows along, and with none enabled a run asks nothing.
    main.enabled = second.enabled = false;
    accounts = {main, second};
    e.dropAccount(main.id);
    e.dropAccount(second.id);
    stripe.clearRecords();
    loading.clear();
    QCoro::waitFor(e.runRefresh());
    EXPECT_TRUE(stripe.requests().isEmpty());
    EXPECT_TRUE(loading.isEmpty());
    EXPECT_TRUE(e.subs().isEmpty());
}

TEST_F(AtRiskSubscriptionsTest, RetriesAreSpacedAndTheirOutcomesKeptPerSubscription)
{
    QList<QByteArray> paidPaths;
    stripe.setFallback([&](const RecordedRequest &r) {
        paidPaths.append(r.path);
        if (r.path == "/v1/invoices/in_q/pay")
            return FakeResponse::json(402, StripeBodies::error(u"card_error"_s, u"card_declined"_s,
                                                               u"Your card has expired."_s, u"expired_card"_s));
        return FakeResponse::json(200, R"({"id":"in_p","object":"invoice","status":"paid"})");
    });
    AtRiskSubscriptions &e = startWith({main});
    QCoro::waitFor(e.runRefresh());
    ASSERT_EQ(e.subs().size(), 3);
    const AtRiskSub q = e.subs()[0], p = e.subs()[1], u = e.subs()[2];

    // A paid one stays listed, shown paid, for a moment; then the follow-up listing drops it.
    byStatus[u"past_due"_s].removeAt(0);
    int listingSteps = 0;
    QObject::connect(&e, &AtRiskSubscriptions::refreshDoneChanged, [&] { ++listingSteps; });
    auto retry = e.retryInvoice(p);
    ASSERT_TRUE(waitUntil([&] { return e.retryResults().contains(p.id); }));
    EXPECT_EQ(e.retryResults().value(p.id), (RetryOutcome{true, {}, false}));
    EXPECT_TRUE(e.retryingInvoiceIds().isEmpty());

    // One second later any other retry waits 2 s more, and the refusal clears itself.
    clock->advance(1.0);
    QCoro::waitFor(e.retryInvoice(u));
    EXPECT_TRUE(e.retryResults().value(u.id).throttled);
    EXPECT_EQ(e.retryResults().value(u.id).secondsToWait, 2);
    EXPECT_TRUE(e.retryResults().value(u.id).errorDescription.startsWith(u"Wait 2s before next retry."_s));
    clock->advance(1.5);
    EXPECT_TRUE(e.retryResults().contains(u.id));
    EXPECT_EQ(listingSteps, 0) << "no listing while the paid row shows";
    static_assert(AtRiskSubscriptions::paidShownSeconds == 3.0); // the paid row leaves with the refusal
    clock->advance(0.5);
    EXPECT_FALSE(e.retryResults().contains(u.id));
    QCoro::waitFor(std::move(retry));
    EXPECT_EQ(ids(e.subs()), (QStringList{u"Main/sub_q"_s, u"Main/sub_u"_s}));
    EXPECT_FALSE(e.retryResults().contains(p.id)) << "a paid outcome leaves with its row";

    // Without an invoice: the missing-key error, and the spacing does not count it.
    AtRiskSub noInvoice = u;
    noInvoice.latestInvoiceId.reset();
    QCoro::waitFor(e.retryInvoice(noInvoice));
    EXPECT_EQ(e.retryResults().value(u.id).errorDescription, u"No Stripe API key configured"_s);

    // At exactly 3 s after the last attempt a retry goes ahead; a decline is kept as sent.
    QCoro::waitFor(e.retryInvoice(q));
    const RetryOutcome declined = e.retryResults().value(q.id);
    EXPECT_FALSE(declined.succeeded);
    EXPECT_TRUE(declined.errorDescription.startsWith(u"Stripe HTTP 402: {"_s));
    EXPECT_TRUE(declined.errorDescription.contains(u"expired_card"_s));
    EXPECT_EQ(paidPaths, (QList<QByteArray>{"/v1/invoices/in_p/pay", "/v1/invoices/in_q/pay"}));

    // A new invoice starts a subscription afresh, and so does leaving the list; the rest stay.
    byStatus[u"past_due"_s] = {listed(u"sub_q"_s, 5000, u"in_q2"_s)};
    QCoro::waitFor(e.runRefresh());
    EXPECT_EQ(e.retryResults().keys(), QList<QString>{u.id});
    byStatus.remove(u"unpaid"_s);
    QCoro::waitFor(e.runRefresh());
    EXPECT_TRUE(e.retryResults().isEmpty());
}
