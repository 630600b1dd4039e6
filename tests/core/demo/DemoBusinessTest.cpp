#include "core/engine/EngineFixture.h"
#include "demo/DemoBusiness.h"
#include "engine/StripeClassifier.h"
#include "mrr/MrrHistory.h"
#include "mrr/MrrSource.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QUuid demoId = QUuid::fromString(u"{6F1C2A44-0B7E-4C39-9D51-2E8A7F3B6C10}"_s);
constexpr qint64 day = 86400;
constexpr qint64 now = 1795000000; // 2026-11-18 11:06:40 UTC

// The ledger through the same classification a Stripe load applies.
QList<PaymentEvent> classify(const DemoLedger &ledger)
{
    Account account = Account::newAccount(AccountProvider::Stripe);
    account.id = demoId;
    QList<PaymentEvent> out;
    for (const PaidInvoiceEvent &e : ledger.paidInvoices) {
        RawInvoice invoice = *e.data->object;
        invoice.created = e.created;
        out.append(StripeClassifier::fromPaidInvoice(invoice, account));
    }
    for (const SucceededChargeRawEvent &e : ledger.charges)
        if (!e.data->object->invoice)
            out.append(StripeClassifier::fromStandaloneCharge({e.id, Date::fromUnix(e.created), *e.data->object}, account));
    for (const RawEvent &e : ledger.cancellations)
        out.append(StripeClassifier::fromCancellation({e.id, Date::fromUnix(e.created), *e.data->object}, account));
    for (const FailedRawEvent &e : ledger.failedInvoices)
        out.append(StripeClassifier::fromFailedPayment({e.id, Date::fromUnix(e.created), *e.data->object}, account));
    for (const RefundRawEvent &e : ledger.refunds)
        out.append(StripeClassifier::fromRefund({e.id, Date::fromUnix(e.created), *e.data->object}, account));
    return out;
}

} // namespace

TEST(DemoBusiness, OneSeedOneStory)
{
    const DemoBusiness business(DemoBusiness::seedFor(demoId));
    const DemoBusiness again(DemoBusiness::seedFor(QUuid::fromString(demoId.toString())));
    const DemoBusiness other(DemoBusiness::seedFor(QUuid::fromString(u"{6F1C2A44-0B7E-4C39-9D51-2E8A7F3B6C11}"_s)));

    const QList<PaymentEvent> week = classify(business.activity(now - 7 * day, now));
    EXPECT_EQ(week, classify(again.activity(now - 7 * day, now)));
    EXPECT_EQ(business.subscriptions(u"past_due", now), again.subscriptions(u"past_due", now));
    EXPECT_NE(week, classify(other.activity(now - 7 * day, now)));

    // A later, wider window tells the same past: what the feed stored under an id stays true.
    const QMap<QString, PaymentEvent> later = EngineFixture::byId(classify(business.activity(now - 30 * day, now + 2 * day)));
    int compared = 0;
    for (const PaymentEvent &e : week)
        if (e.date.unixSeconds() < now - DemoBusiness::liveWindowSeconds) {
            EXPECT_EQ(later.value(e.id), e) << e.id.toStdString();
            ++compared;
        }
    EXPECT_GT(compared, 100);
}

TEST(DemoBusiness, DaysClassifyIntoTheirKinds)
{
    // Three days of one seed, summed by hand from the classified events (US dollars).
    struct Day { const char *date; int counts[5]; double usd[5]; }; // new, recurring, churn, failed, refund
    const Day days[] = {
        {"2026-11-15", {5, 15, 3, 7, 0}, {281.73, 811.16, 187.00, 814.12, 0}},
        {"2026-11-16", {6, 25, 3, 3, 1}, {368.25, 1418.91, 238.83, 147.53, 9.50}},
        {"2026-11-17", {11, 19, 2, 4, 0}, {1135.24, 1484.70, 165.95, 337.12, 0}},
    };
    const qint64 from = (now / day - 3) * day;
    const QList<PaymentEvent> events = classify(DemoBusiness(DemoBusiness::seedFor(demoId)).activity(from, from + 3 * day - 1));
    for (int d = 0; d < 3; ++d) {
        SCOPED_TRACE(days[d].date);
        int counts[5] = {};
        double usd[5] = {};
        for (const PaymentEvent &e : events)
            if (e.date.toIsoString().startsWith(QLatin1StringView(days[d].date))) {
                ++counts[int(e.kind)];
                usd[int(e.kind)] += e.usdAmount;
            }
        for (int k = 0; k < 5; ++k) {
            EXPECT_EQ(counts[k], days[d].counts[k]) << toRaw(RevenueKind(k)).toStdString();
            EXPECT_NEAR(usd[k], days[d].usd[k], 0.005) << toRaw(RevenueKind(k)).toStdString();
        }
    }
    // Yen have no minor unit: ¥2,900 is 2900 yen, not 29.
    const auto yen = std::find_if(events.begin(), events.end(), [](const PaymentEvent &e) { return e.currency == u"jpy"; });
    ASSERT_NE(yen, events.end());
    EXPECT_GE(yen->amount, 2900);
}

TEST(DemoBusiness, AtRiskAndRetries)
{
    const DemoBusiness business(DemoBusiness::seedFor(demoId));
    const QList<ExpandedSubscription> pastDue = business.subscriptions(u"past_due", now);
    ASSERT_FALSE(pastDue.isEmpty());
    EXPECT_FALSE(business.subscriptions(u"unpaid", now).isEmpty());
    for (const ExpandedSubscription &unpaid : business.subscriptions(u"unpaid", now)) { // dated by the last attempt
        const auto &invoice = *unpaid.latest_invoice;
        EXPECT_LE(invoice.created.value_or(now + 1), invoice.charge ? invoice.charge->created.value_or(0) : 0);
    }
    const ExpandedSubscription &sub = pastDue.first();
    ASSERT_TRUE(sub.latest_invoice && sub.latest_invoice->next_payment_attempt);
    EXPECT_GT(*sub.latest_invoice->next_payment_attempt, now);
    const std::optional<quint64> invoice = business.openInvoice(*sub.latest_invoice->id, now);
    ASSERT_TRUE(invoice);

    // Paid by hand, the invoice shows up as a payment and the subscription is no longer at risk.
    const DemoBusiness paid(DemoBusiness::seedFor(demoId), {{*invoice, now - 60}});
    EXPECT_FALSE(paid.openInvoice(*sub.latest_invoice->id, now));
    EXPECT_EQ(paid.subscriptions(u"past_due", now).size(), pastDue.size() - 1);
    const DemoLedger ledger = paid.activity(now - 120, now);
    EXPECT_TRUE(std::any_of(ledger.paidInvoices.begin(), ledger.paidInvoices.end(), [&](const PaidInvoiceEvent &e) {
        return e.data->object->id == *sub.latest_invoice->id && e.created == now - 60;
    }));
}

// The demo's subscriptions and invoices give a year of MRR that grows and moves, and every
// month's MRR is the one before plus that month's net new.
TEST(DemoBusiness, MrrHistoryMoves)
{
    const DemoBusiness business(DemoBusiness::seedFor(demoId));
    const auto [subscriptions, invoices] = business.billing(now - 400 * day, now);
    const MrrListing listing = MrrSource::fromStripe(subscriptions, invoices, demoId);
    const MrrHistory::Rebuilt rebuilt = MrrHistory::rebuild(listing.subscriptions, listing.lines, Date::fromUnix(now),
                                                            TimeContext(QTimeZone::utc(), Qt::Monday), false);
    ASSERT_EQ(rebuilt.months.size(), 12);
    MrrMovements year;
    for (qsizetype m = 0; m < rebuilt.months.size(); ++m) {
        const MrrMovements &moves = rebuilt.months[m].movements;
        year = {year.newMrr + moves.newMrr, year.expansion + moves.expansion, year.contraction + moves.contraction,
                year.churn + moves.churn, year.reactivation + moves.reactivation};
        if (m > 0)
            EXPECT_NEAR(rebuilt.months[m].mrrUsd, rebuilt.months[m - 1].mrrUsd + moves.netNew(), 1e-6) << m;
    }
    EXPECT_GT(year.newMrr, 1000);
    EXPECT_GT(year.expansion, 100);
    EXPECT_GT(year.churn, 100);
    // Customers only ever upgrade. What little contraction there is comes from a period with no
    // paid line, priced at today's plan; a plan read from before an upgrade would be thousands.
    EXPECT_LT(year.contraction, year.expansion / 50);
    EXPECT_GT(rebuilt.months.last().mrrUsd, rebuilt.months.first().mrrUsd);
    EXPECT_GT(rebuilt.summary.activeCustomers, 100);
    EXPECT_FALSE(rebuilt.monthMovements.isEmpty());
}
