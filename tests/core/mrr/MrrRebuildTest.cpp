#include "mrr/MrrTracker.h"
#include "storage/Storage.h"
#include "stripe/StripeSource.h"
#include "support/FakeHttpServer.h"
#include "support/StripeListing.h"
#include "support/TestUtil.h"
#include "support/VirtualClock.h"

#include <QJsonArray>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

qint64 utc(int year, int month, int day)
{
    return QDateTime(QDate(year, month, day), QTime(0, 0), QTimeZone::utc()).toSecsSinceEpoch();
}

QJsonObject price(qint64 unitAmount, const char *interval)
{
    return {{"id"_L1, QString(u"price_"_s + QString::number(unitAmount))}, {"object"_L1, "price"_L1},
            {"recurring"_L1, QJsonObject{{"interval"_L1, QString::fromLatin1(interval)}, {"interval_count"_L1, 1},
                                         {"usage_type"_L1, "licensed"_L1}}},
            {"unit_amount"_L1, unitAmount}};
}

struct Sub
{
    const char *id, *customer, *status, *currency, *interval;
    qint64 unitAmount, quantity, start;
    std::optional<qint64> ended, trialEnd;
    std::optional<double> percentOff;
};

QJsonObject subscriptionJson(const Sub &s)
{
    const QString id = QString::fromLatin1(s.id);
    QJsonObject out{{"id"_L1, id}, {"object"_L1, "subscription"_L1}, {"created"_L1, s.start},
                    {"currency"_L1, QString::fromLatin1(s.currency)},
                    {"customer"_L1, QJsonObject{{"id"_L1, QString::fromLatin1(s.customer)}, {"object"_L1, "customer"_L1},
                                                {"email"_L1, QString(QString::fromLatin1(s.customer) + u"@example.com"_s)},
                                                {"name"_L1, QJsonValue::Null}}},
                    {"discounts"_L1, QJsonArray{}},
                    {"ended_at"_L1, s.ended ? QJsonValue(*s.ended) : QJsonValue()},
                    {"items"_L1, QJsonObject{{"object"_L1, "list"_L1},
                                             {"data"_L1, QJsonArray{QJsonObject{{"id"_L1, QString(u"si_"_s + id.mid(4))},
                                                                                {"price"_L1, price(s.unitAmount, s.interval)},
                                                                                {"quantity"_L1, s.quantity}}}}}},
                    {"start_date"_L1, s.start}, {"status"_L1, QString::fromLatin1(s.status)},
                    {"trial_end"_L1, s.trialEnd ? QJsonValue(*s.trialEnd) : QJsonValue()}};
    if (s.percentOff)
        out.insert("discounts"_L1, QJsonArray{QJsonObject{
            {"id"_L1, "di_1"_L1}, {"coupon"_L1, QJsonObject{{"id"_L1, "co_1"_L1}, {"amount_off"_L1, QJsonValue()},
                                                            {"duration"_L1, "forever"_L1}, {"percent_off"_L1, *s.percentOff}}},
            {"end"_L1, QJsonValue()}}});
    return out;
}

// One paid invoice per period of `months` months from `from` (UTC), up to `until`.
struct Billing
{
    const char *subscription, *currency, *interval;
    int months;
    qint64 from, until, amount, discounted;
};

void addInvoices(StripeListing &listing, const Billing &b, int &serial)
{
    QDateTime start = QDateTime::fromSecsSinceEpoch(b.from, QTimeZone::utc());
    while (start.toSecsSinceEpoch() < b.until) {
        const QDateTime end = start.addMonths(b.months);
        const QString subscription = QString::fromLatin1(b.subscription);
        const QString id = u"in_%1"_s.arg(++serial);
        QJsonObject line{{"id"_L1, QString(u"il_"_s + id)}, {"amount"_L1, b.amount},
                         {"discount_amounts"_L1, QJsonArray{QJsonObject{{"amount"_L1, b.discounted}, {"discount"_L1, "di_1"_L1}}}},
                         {"period"_L1, QJsonObject{{"end"_L1, end.toSecsSinceEpoch()}, {"start"_L1, start.toSecsSinceEpoch()}}},
                         {"price"_L1, price(b.amount, b.interval)}, {"proration"_L1, false},
                         {"subscription"_L1, subscription}, {"subscription_item"_L1, QString(u"si_"_s + subscription.mid(4))},
                         {"type"_L1, "subscription"_L1}};
        // An upgrade's proration on the same invoice is not a month's price.
        QJsonObject proration = line;
        proration.insert("id"_L1, QString(u"il_p"_s + id));
        proration.insert("amount"_L1, 99900);
        proration.insert("proration"_L1, true);
        listing.add({{"id"_L1, id}, {"object"_L1, "invoice"_L1}, {"created"_L1, start.toSecsSinceEpoch() + 60},
                     {"currency"_L1, QString::fromLatin1(b.currency)},
                     {"lines"_L1, QJsonObject{{"data"_L1, QJsonArray{line, proration}}, {"has_more"_L1, false}}},
                     {"status"_L1, "paid"_L1}, {"subscription"_L1, subscription}});
        start = end;
    }
}

} // namespace

// A year of subscriptions behind a loopback Stripe: the tracker lists them, rebuilds every
// month's MRR and movements from their dates and paid lines, and keeps a snapshot of today
// in a snapshot file that it had found damaged.
TEST(MrrRebuild, TwelveMonthsFromSubscriptionsAndPaidInvoices)
{
    const qint64 now = utc(2026, 6, 15) + 12 * 3600;
    StripeListing subscriptions;
    for (const Sub &s : std::initializer_list<Sub>{
             // Upgraded from $100 to $150 in January.
             {"sub_a", "cus_a", "active", "usd", "month", 15000, 1, utc(2025, 5, 1), {}, {}, {}},
             // Yearly $1,200 from September, ended in March.
             {"sub_b", "cus_b", "canceled", "usd", "year", 120000, 1, utc(2025, 9, 10), utc(2026, 3, 20), {}, {}},
             // The same customer back in May: reactivation.
             {"sub_c", "cus_b", "active", "usd", "month", 5000, 1, utc(2026, 5, 5), {}, {}, {}},
             // Still in its trial: nothing without "Count trials".
             {"sub_d", "cus_d", "trialing", "usd", "month", 3000, 1, utc(2026, 6, 1), {}, utc(2026, 6, 20), {}},
             // €20 less 25 % from November, past due now.
             {"sub_e", "cus_e", "past_due", "eur", "month", 2000, 1, utc(2025, 11, 15), {}, {}, 25.0},
             // Two seats of $80 from December, one from February.
             {"sub_g", "cus_g", "active", "usd", "month", 8000, 1, utc(2025, 12, 1), {}, {}, {}},
             // Never paid.
             {"sub_x", "cus_x", "incomplete_expired", "usd", "month", 9900, 1, utc(2026, 2, 3), utc(2026, 2, 4), {}, {}},
         })
        subscriptions.add(subscriptionJson(s));
    subscriptions.finish();
    StripeListing invoices;
    int serial = 0;
    for (const Billing &b : std::initializer_list<Billing>{
             {"sub_a", "usd", "month", 1, utc(2025, 5, 1), utc(2026, 1, 1), 10000, 0},
             {"sub_a", "usd", "month", 1, utc(2026, 1, 1), now, 15000, 0},
             {"sub_b", "usd", "year", 12, utc(2025, 9, 10), utc(2026, 3, 20), 120000, 0},
             {"sub_c", "usd", "month", 1, utc(2026, 5, 5), now, 5000, 0},
             {"sub_e", "eur", "month", 1, utc(2025, 11, 15), now, 2000, 500},
             {"sub_g", "usd", "month", 1, utc(2025, 12, 1), utc(2026, 2, 1), 16000, 0},
             {"sub_g", "usd", "month", 1, utc(2026, 2, 1), now, 8000, 0},
         })
        addInvoices(invoices, b, serial);
    invoices.finish();

    FakeHttpServer stripe;
    QList<QString> subscriptionStatuses;
    stripe.setHandler("GET", "/v1/subscriptions", [&](const RecordedRequest &r) {
        subscriptionStatuses.append(r.query(u"status"_s));
        const auto [status, body] = subscriptions.answer(r.queryItems());
        return FakeResponse::json(status, body);
    });
    stripe.setHandler("GET", "/v1/invoices", [&](const RecordedRequest &r) {
        const auto [status, body] = invoices.answer(r.queryItems());
        return FakeResponse::json(r.query(u"status"_s) == u"paid"_s ? status : 400, body);
    });

    QTemporaryDir folder;
    const Storage storage(folder.path());
    ASSERT_TRUE(writeFile(storage.pathOf(Storage::mrrSnapshotsFile), "[{\"day\":"));
    auto clock = std::make_shared<VirtualClock>(Date::fromUnix(double(now)));
    Account account = Account::newAccount(AccountProvider::Stripe);
    account.name = u"Acme"_s;
    account.stripeRestrictedKey = u"rk_test_1"_s;
    MrrTracker tracker({storage, clock, TimeContext(QTimeZone::utc(), Qt::Monday), [&](const Account &a) {
                            return std::make_shared<HttpStripeSource>(StripeClient(a, stripe.baseUrl()));
                        }});
    ASSERT_EQ(tracker.damagedFiles().size(), 1);
    EXPECT_FALSE(tracker.damagedFiles()[0].keptAt.isEmpty());

    QCoro::waitFor(tracker.refresh({account}, {}, false, {}));
    EXPECT_TRUE(stripe.unexpected().isEmpty());
    EXPECT_TRUE(std::all_of(subscriptionStatuses.cbegin(), subscriptionStatuses.cend(),
                            [](const QString &s) { return s == u"all"_s; }));
    const MrrState &state = tracker.state();
    ASSERT_FALSE(state.lastError) << state.lastError->toStdString();

    const double e = 15 * 1.08; // €15 a month in dollars
    const struct { double mrr; int customers; MrrMovements moves; } expected[] = {
        {100, 1, {}},                                 // July 2025
        {100, 1, {}},                                 // August
        {200, 2, {100, 0, 0, 0, 0}},                  // September: B new
        {200, 2, {}},                                 // October
        {200 + e, 3, {e, 0, 0, 0, 0}},                // November: E new
        {360 + e, 4, {160, 0, 0, 0, 0}},              // December: G new with two seats
        {410 + e, 4, {0, 50, 0, 0, 0}},               // January: A upgraded
        {330 + e, 4, {0, 0, 80, 0, 0}},               // February: G down to one seat
        {230 + e, 3, {0, 0, 0, 100, 0}},              // March: B ended
        {230 + e, 3, {}},                             // April
        {280 + e, 4, {0, 0, 0, 0, 50}},               // May: B back
        {280 + e, 4, {}},                             // June, up to now
    };
    ASSERT_EQ(state.months.size(), 12);
    for (int m = 0; m < 12; ++m) {
        SCOPED_TRACE(m);
        EXPECT_EQ(state.months[m].monthStart, Date::fromUnix(double(utc(2025 + (m + 6) / 12, (m + 6) % 12 + 1, 1))));
        EXPECT_NEAR(state.months[m].mrrUsd, expected[m].mrr, 1e-9);
        EXPECT_EQ(state.months[m].activeCustomers, expected[m].customers);
        EXPECT_NEAR(state.months[m].movements.newMrr, expected[m].moves.newMrr, 1e-9);
        EXPECT_NEAR(state.months[m].movements.expansion, expected[m].moves.expansion, 1e-9);
        EXPECT_NEAR(state.months[m].movements.contraction, expected[m].moves.contraction, 1e-9);
        EXPECT_NEAR(state.months[m].movements.churn, expected[m].moves.churn, 1e-9);
        EXPECT_NEAR(state.months[m].movements.reactivation, expected[m].moves.reactivation, 1e-9);
    }
    EXPECT_NEAR(state.summary.mrrUsd, 280 + e, 1e-9);
    EXPECT_NEAR(state.summary.arrUsd, 12 * (280 + e), 1e-9);
    EXPECT_EQ(state.summary.activeCustomers, 4);
    EXPECT_FALSE(state.summary.approximate);
    EXPECT_TRUE(state.monthMovements.isEmpty());
    // PayPal's estimate joins today's figures, marked as such.
    Account paypal = Account::newAccount(AccountProvider::PayPal);
    PaymentEvent payment;
    payment.accountId = paypal.id;
    payment.date = Date::fromUnix(double(utc(2026, 5, 18)));
    payment.usdAmount = 30;
    payment.customerEmail = u"p@example.com"_s;
    int goalsReached = 0;
    QObject::connect(&tracker, &MrrTracker::goalReached, [&](double goal) { goalsReached += goal == 300 ? 1 : 100; });
    tracker.setSettings({false, 300, u"USD"_s});
    EXPECT_EQ(tracker.state().goal.text, u"—"_s); // the three months before June shrank
    const QList<CustomerMovement> may = [&] {
        clock->set(Date::fromUnix(double(utc(2026, 5, 20))));
        QCoro::waitFor(tracker.refresh({account, paypal}, {payment}, false, {}));
        return tracker.state().monthMovements;
    }();
    ASSERT_EQ(may.size(), 1);
    EXPECT_EQ(may[0].customerId, u"cus_b"_s);
    EXPECT_EQ(may[0].customerName, u"cus_b@example.com"_s);
    EXPECT_EQ(may[0].kind, MrrMovementKind::Reactivation);
    EXPECT_NEAR(tracker.state().summary.mrrUsd, 280 + e + 30, 1e-9);
    EXPECT_EQ(tracker.state().summary.activeCustomers, 5);
    EXPECT_TRUE(tracker.state().summary.approximate);
    EXPECT_EQ(goalsReached, 1);
    EXPECT_EQ(tracker.state().goal.text, u"$300 MRR reached"_s);
    EXPECT_EQ(tracker.label(u"USD"), u"~$326"_s);

    // The damaged file was replaced by one that reads, with a snapshot per day refreshed.
    QList<FileDamage> damaged;
    const QList<MrrSnapshot> snapshots = storage.loadMrrSnapshots(&damaged);
    EXPECT_TRUE(damaged.isEmpty());
    ASSERT_EQ(snapshots.size(), 2);
    EXPECT_EQ(snapshots[0].day, Date::fromUnix(double(utc(2026, 5, 20))));
    EXPECT_EQ(snapshots[1].day, Date::fromUnix(double(utc(2026, 6, 15))));
    EXPECT_NEAR(snapshots[0].mrrUsd, 280 + e + 30, 1e-9);
    EXPECT_TRUE(snapshots[0].approximate);
    EXPECT_NEAR(snapshots[1].mrrUsd, 280 + e, 1e-9);
}
