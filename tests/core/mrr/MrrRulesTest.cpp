#include "mrr/MrrGoal.h"
#include "mrr/MrrHistory.h"
#include "mrr/MrrMath.h"
#include "mrr/MrrSnapshots.h"
#include "mrr/PayPalMrr.h"
#include "mrr/SubscriptionMrr.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const Date at = Date::fromUnix(1'773'144'000); // 2026-03-10 12:00 UTC

MrrItem item(qint64 unitAmount, qint64 quantity = 1, const char *interval = "month", qint64 count = 1)
{
    MrrItem out;
    out.unitAmount = unitAmount;
    out.quantity = quantity;
    out.interval = QString::fromLatin1(interval);
    out.intervalCount = count;
    return out;
}

MrrItem metered(std::optional<qint64> lastPaid)
{
    MrrItem out = item(0);
    out.metered = true;
    out.lastPaidAmount = lastPaid;
    return out;
}

MrrDiscount discount(double percent, qint64 amount, MrrDiscount::Duration duration, std::optional<double> endsInDays = {})
{
    return {percent, amount, duration, endsInDays ? std::optional(at.addingSeconds(*endsInDays * 86400)) : std::nullopt};
}

MrrSubscription subscription(QList<MrrItem> items, const char *status = "active", const char *currency = "usd",
                             QList<MrrDiscount> discounts = {}, const char *customer = "cus_1")
{
    MrrSubscription out;
    out.id = u"sub_"_s + QString::fromLatin1(customer) + QString::number(items.size());
    out.customerId = QString::fromLatin1(customer);
    out.currency = QString::fromLatin1(currency);
    out.status = QString::fromLatin1(status);
    out.items = std::move(items);
    out.discounts = std::move(discounts);
    return out;
}

} // namespace

TEST(SubscriptionMrr, ItemsDiscountsStatusesAndCurrenciesMakeTheMonthlyFigure)
{
    using D = MrrDiscount::Duration;
    const struct { const char *name; MrrSubscription subscription; bool countTrials; double usd; } cases[] = {
        {"monthly", subscription({item(4900)}), false, 49},
        {"yearly ÷ 12", subscription({item(120000, 1, "year")}), false, 100},
        {"weekly × 52 ÷ 12", subscription({item(1200, 1, "week")}), false, 52},
        {"daily × 365 ÷ 12", subscription({item(120, 1, "day")}), false, 36.5},
        {"every 3 months", subscription({item(30000, 1, "month", 3)}), false, 100},
        {"every 2 years", subscription({item(240000, 1, "year", 2)}), false, 100},
        {"every 2 weeks", subscription({item(2400, 1, "week", 2)}), false, 52},
        {"quantity", subscription({item(1000, 5)}), false, 50},
        {"quantity zero", subscription({item(1000, 0)}), false, 0},
        {"several items", subscription({item(1000), item(12000, 2, "year")}), false, 30},
        {"percent off forever", subscription({item(10000)}, "active", "usd", {discount(25, 0, D::Forever)}), false, 75},
        {"amount off forever", subscription({item(10000)}, "active", "usd", {discount(0, 2000, D::Forever)}), false, 80},
        {"amount off a yearly price", subscription({item(120000, 1, "year")}, "active", "usd", {discount(0, 12000, D::Forever)}),
         false, 90},
        {"repeating, in force", subscription({item(10000)}, "active", "usd", {discount(50, 0, D::Repeating, 10)}), false, 50},
        {"repeating, over", subscription({item(10000)}, "active", "usd", {discount(50, 0, D::Repeating, -1)}), false, 100},
        {"once is ignored", subscription({item(10000)}, "active", "usd", {discount(50, 0, D::Once)}), false, 100},
        {"two discounts", subscription({item(10000)}, "active", "usd", {discount(50, 0, D::Forever), discount(0, 1000, D::Forever)}),
         false, 40},
        {"never below zero", subscription({item(1000)}, "active", "usd", {discount(0, 5000, D::Forever)}), false, 0},
        {"past_due counts", subscription({item(4900)}, "past_due"), false, 49},
        {"trialing without trials", subscription({item(4900)}, "trialing"), false, 0},
        {"trialing with trials", subscription({item(4900)}, "trialing"), true, 49},
        {"unpaid", subscription({item(4900)}, "unpaid"), true, 0},
        {"incomplete", subscription({item(4900)}, "incomplete"), true, 0},
        {"incomplete_expired", subscription({item(4900)}, "incomplete_expired"), true, 0},
        {"canceled", subscription({item(4900)}, "canceled"), true, 0},
        {"paused", subscription({item(4900)}, "paused"), true, 0},
        {"metered: last paid invoice", subscription({item(1000), metered(3750)}), false, 47.5},
        {"metered, never invoiced", subscription({metered(std::nullopt)}), false, 0},
        {"euros at the app's rate", subscription({item(10000)}, "active", "eur"), false, 108},
        {"zero-decimal yen", subscription({item(10000)}, "active", "jpy"), false, 64},
        {"a currency without a rate", subscription({item(10000)}, "active", "xyz"), false, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_NEAR(SubscriptionMrr::monthlyUsd(c.subscription, at, c.countTrials), c.usd, 1e-9);
    }
}

TEST(MrrMath, MovementsPerCustomerBetweenTwoDates)
{
    using K = MrrMovementKind;
    const QUuid account = QUuid::fromString(u"6f1c2b9e-4a7d-4c3b-9e2f-1a2b3c4d5e6f"_s);
    const auto key = [&](const char *customer) { return MrrMath::customerKey(account, QString::fromLatin1(customer)); };
    struct Move { const char *customer; K kind; double from, to; };
    const struct { const char *name; MrrMath::CustomerMrr before, after; QSet<QString> had; QList<Move> moves; } cases[] = {
        {"new", {}, {{key("a"), 10}}, {}, {{"a", K::New, 0, 10}}},
        {"reactivation", {}, {{key("a"), 10}}, {key("a")}, {{"a", K::Reactivation, 0, 10}}},
        {"churn", {{key("a"), 10}}, {}, {key("a")}, {{"a", K::Churn, 10, 0}}},
        {"expansion", {{key("a"), 10}}, {{key("a"), 15}}, {key("a")}, {{"a", K::Expansion, 10, 15}}},
        {"contraction", {{key("a"), 15}}, {{key("a"), 10}}, {key("a")}, {{"a", K::Contraction, 15, 10}}},
        {"unchanged", {{key("a"), 10}}, {{key("a"), 10}}, {key("a")}, {}},
        {"largest change first", {{key("a"), 10}, {key("b"), 50}}, {{key("a"), 40}, {key("c"), 5}}, {key("a"), key("b")},
         {{"b", K::Churn, 50, 0}, {"a", K::Expansion, 10, 40}, {"c", K::New, 0, 5}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const QList<CustomerMovement> moves = MrrMath::customerMovements(c.before, c.after, c.had);
        ASSERT_EQ(moves.size(), c.moves.size());
        for (qsizetype i = 0; i < moves.size(); ++i) {
            EXPECT_EQ(moves[i].accountId, account);
            EXPECT_EQ(moves[i].customerId, QString::fromLatin1(c.moves[i].customer));
            EXPECT_EQ(moves[i].kind, c.moves[i].kind);
            EXPECT_DOUBLE_EQ(moves[i].fromUsd, c.moves[i].from);
            EXPECT_DOUBLE_EQ(moves[i].toUsd, c.moves[i].to);
        }
    }
}

// A customer's MRR is the sum of their subscriptions: a second subscription of a paying
// customer is expansion, and losing one of two is contraction, not churn.
TEST(MrrMath, SeveralSubscriptionsOfOneCustomerMoveAsOne)
{
    const MrrSubscription first = subscription({item(10000)}, "active", "usd", {}, "a");
    const MrrSubscription second = subscription({item(2500), item(2500)}, "active", "usd", {}, "a");
    const MrrSubscription other = subscription({item(4000)}, "active", "usd", {}, "b");
    const auto mrr = [](QList<MrrSubscription> subs) { return MrrMath::customerMrr(subs, at, false); };
    const MrrMath::CustomerMrr one = mrr({first, other});
    const MrrMath::CustomerMrr two = mrr({first, second, other});
    EXPECT_DOUBLE_EQ(MrrMath::total(two), 190);
    EXPECT_EQ(MrrMath::activeCustomers(two), 2);

    const MrrMovements grew = MrrMath::totals(MrrMath::customerMovements(one, two, {}));
    EXPECT_EQ(grew, (MrrMovements{0, 50, 0, 0, 0}));
    const QList<CustomerMovement> shrank = MrrMath::customerMovements(two, mrr({second}), {});
    EXPECT_EQ(MrrMath::totals(shrank), (MrrMovements{0, 0, 100, 40, 0}));
    EXPECT_DOUBLE_EQ(MrrMath::totals(shrank).netNew(), -140);

    // 190 at the start with two customers; one lost (−40), the other down 100.
    const MrrSummary s = MrrMath::summary(two, mrr({second}), MrrMath::totals(shrank));
    EXPECT_DOUBLE_EQ(s.mrrUsd, 50);
    EXPECT_DOUBLE_EQ(s.arrUsd, 600);
    EXPECT_DOUBLE_EQ(s.netNewUsd, -140);
    EXPECT_EQ(s.activeCustomers, 1);
    EXPECT_DOUBLE_EQ(s.arpaUsd, 50);
    EXPECT_DOUBLE_EQ(s.logoChurnRate, 0.5);
    EXPECT_DOUBLE_EQ(s.netMrrChurnRate, 140.0 / 190.0);
}

TEST(MrrGoal, EtaAtTheLastThreeMonthsPace)
{
    const auto months = [](QList<double> netNew) {
        QList<MrrMonth> out;
        for (double n : netNew)
            out.append(MrrMonth{{}, 0, 0, MrrMovements{std::max(n, 0.0), 0, 0, std::max(-n, 0.0), 0}});
        return out;
    };
    const struct { const char *name; double goal, mrr; QList<double> netNew; std::optional<int> eta; QString text; } cases[] = {
        {"five months", 10000, 5000, {9999, 1000, 1000, 1000, 50000}, 5, u"$10K MRR in about 5 months"_s},
        {"rounded up", 10000, 5000, {1500, 1500, 1500, 0}, 4, u"$10K MRR in about 4 months"_s},
        {"one month", 10000, 9500, {1000, 1000, 1000, 0}, 1, u"$10K MRR in about 1 month"_s},
        {"shrinking", 10000, 5000, {1000, -2000, 500, 0}, std::nullopt, u"—"_s},
        {"flat", 10000, 5000, {0, 0, 0, 0}, std::nullopt, u"—"_s},
        {"reached", 10000, 12000, {0, 0, 0, 0}, 0, u"$10K MRR reached"_s},
        {"no goal", 0, 5000, {1000, 1000, 1000, 0}, std::nullopt, QString()},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const MrrGoalEta eta = MrrGoal::eta(c.goal, c.mrr, months(c.netNew), u"USD");
        EXPECT_EQ(eta.months, c.eta);
        EXPECT_EQ(eta.text, c.text);
    }
    EXPECT_TRUE(MrrGoal::crossed(10000, 9999, 10000));
    EXPECT_FALSE(MrrGoal::crossed(10000, 10000, 12000));
    EXPECT_FALSE(MrrGoal::crossed(0, 0, 12000));
}

// PayPal: per payer, the recurring payments of the last 30 days make a month.
TEST(PayPalMrr, ThirtyDaysOfPaymentsPerPayer)
{
    const QUuid account = QUuid::createUuid();
    const auto payment = [&](const char *payer, double usd, double daysAgo, RevenueKind kind = RevenueKind::Recurring) {
        PaymentEvent e;
        e.id = QUuid::createUuid().toString();
        e.accountId = account;
        e.date = at.addingSeconds(-daysAgo * 86400);
        e.usdAmount = usd;
        e.kind = kind;
        if (payer)
            e.customerEmail = QString::fromLatin1(payer);
        e.description = u"Pro plan"_s;
        return e;
    };
    const QList<MrrSubscription> estimated = PayPalMrr::estimate(
        {payment("a@example.com", 10, 1), payment("a@example.com", 15, 29), payment("b@example.com", 54, 3),
         payment("c@example.com", 40, 31), payment("b@example.com", 54, 2, RevenueKind::Refund), payment(nullptr, 7, 4)},
        at);
    const MrrMath::CustomerMrr mrr = MrrMath::customerMrr(estimated, at, false);
    EXPECT_EQ(mrr, (MrrMath::CustomerMrr{{MrrMath::customerKey(account, u"a@example.com"_s), 25},
                                         {MrrMath::customerKey(account, u"b@example.com"_s), 54},
                                         {MrrMath::customerKey(account, u"Pro plan"_s), 7}}));
}

// Without a listing, the months are what the daily snapshots saw at each month's end.
TEST(MrrSnapshots, MonthsFromTheLastSnapshotOfEach)
{
    const TimeContext utc(QTimeZone::utc(), Qt::Monday);
    const auto day = [](int month, int dayOfMonth) {
        return Date::fromDateTime(QDateTime(QDate(2026, month, dayOfMonth), QTime(0, 0), QTimeZone::utc()));
    };
    QList<MrrSnapshot> snapshots;
    for (const auto &[d, usd] : {std::pair{day(1, 31), 120.0}, {day(1, 10), 100.0}, {day(3, 5), 150.0}})
        snapshots = MrrSnapshots::record(snapshots, {d, usd, int(usd / 10), false});
    snapshots = MrrSnapshots::record(snapshots, {day(3, 5), 155, 15, true}); // the same day again
    ASSERT_EQ(snapshots.size(), 3);
    EXPECT_EQ(snapshots[0].day, day(1, 10));

    const QList<MrrMonth> months = MrrSnapshots::months(snapshots, day(4, 2).addingSeconds(3600), utc, 12);
    const QList<MrrMonth> expected{{day(1, 1), 120, 12, {}}, {day(2, 1), 120, 12, {}}, {day(3, 1), 155, 15, {}},
                                   {day(4, 1), 155, 15, {}}};
    EXPECT_EQ(months, expected);
}

// In the past a subscription is worth what its paid lines covering the day charged: per item
// the latest period's line, since a renewal billed early overlaps the period before it.
TEST(MrrHistory, PaidLinesPerItemLatestPeriodFirst)
{
    MrrSubscription s = subscription({item(9900)});
    s.startDate = at.addingSeconds(-400 * 86400.0);
    const auto line = [](const char *itemId, double startDays, double endDays, qint64 amount) {
        MrrInvoiceLine out;
        out.itemId = QString::fromLatin1(itemId);
        out.periodStart = at.addingSeconds(startDays * 86400);
        out.periodEnd = at.addingSeconds(endDays * 86400);
        out.amount = amount;
        out.currency = u"usd"_s;
        return out;
    };
    const Date now = at.addingSeconds(90 * 86400.0);
    const struct {
        QList<MrrInvoiceLine> lines;
        double usd;
    } rows[] = {
        {{line("si_a", -20, 10, 5000)}, 50},
        {{line("si_a", -20, 10, 5000), line("si_a", -1, 29, 7000)}, 70}, // renewal billed a day early
        {{line("si_a", -1, 29, 7000), line("si_a", -20, 10, 5000)}, 70},
        {{line("si_a", -20, 10, 5000), line("si_b", -5, 25, 1500)}, 65}, // two items
        {{line("si_a", -60, -30, 5000)}, 99},                             // none covers: today's terms
    };
    for (const auto &row : rows)
        EXPECT_NEAR(MrrHistory::subscriptionUsdAt(s, row.lines, at, false, now), row.usd, 1e-9) << row.usd;
}
