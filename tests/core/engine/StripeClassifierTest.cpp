#include "EngineFixture.h"
#include "engine/ChurnCustomers.h"
#include "engine/StripeClassifier.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;
using namespace StripeBodies;

namespace {

template<typename T>
T decoded(const QJsonObject &o)
{
    auto result = decodeJsonObject(QJsonDocument(o).toJson(), [](JsonReader &r) { return T::decode(r); });
    EXPECT_TRUE(result.ok()) << result.error().toStdString();
    return result ? std::move(result).value() : T{};
}

} // namespace

TEST(StripeClassifier, PaidInvoicesInBothShapes)
{
    const struct { const char *name; InvoiceFields fields; Shape shape; RevenueKind kind; double amount, usd;
        const char *description, *path; } rows[] = {
        {"first invoice", {.id = u"in_1"_s, .billingReason = u"subscription_create"_s, .charge = u"ch_1"_s}, Shape::Legacy,
         RevenueKind::New, 20, 20, "1 × Pro (at $20.00 / month)", "payments/ch_1"},
        {"renewal, current shape", {.id = u"in_2"_s, .amountPaid = 4900, .currency = u"eur"_s}, Shape::Current,
         RevenueKind::Recurring, 49, 52.92, "1 × Pro (at $20.00 / month)", "invoices/in_2"},
        {"proration", {.id = u"in_3"_s, .amountPaid = 733, .billingReason = u"subscription_update"_s,
                       .lineDescription = u"Remaining time on Pro after 12 Nov 2026"_s},
         Shape::Current, RevenueKind::Recurring, 7.33, 7.33, "Remaining time on Pro after 12 Nov 2026", "invoices/in_3"},
        {"zero-amount trial start", {.id = u"in_4"_s, .amountPaid = 0, .billingReason = u"subscription_create"_s},
         Shape::Legacy, RevenueKind::New, 0, 0, "1 × Pro (at $20.00 / month)", "invoices/in_4"},
        {"manual yen invoice without a line description",
         {.id = u"in_5"_s, .amountPaid = 5000, .currency = u"jpy"_s, .billingReason = u"manual"_s,
          .customerName = {}, .lineDescription = {}},
         Shape::Legacy, RevenueKind::Recurring, 5000, 32, "jenny.rosen@example.com", "invoices/in_5"},
        {"unknown currency", {.id = u"in_6"_s, .amountPaid = 1000, .currency = u"huf"_s, .billingReason = {}}, Shape::Current,
         RevenueKind::Recurring, 10, 0, "1 × Pro (at $20.00 / month)", "invoices/in_6"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const PaymentEvent e = StripeClassifier::fromPaidInvoice(decoded<RawInvoice>(invoice(row.fields, row.shape)),
                                                                  EngineFixture::stripeAccount(u"Main"_s));
        EXPECT_EQ(e.id, row.fields.id);
        EXPECT_EQ(e.kind, row.kind);
        EXPECT_DOUBLE_EQ(e.amount, row.amount);
        EXPECT_NEAR(e.usdAmount, row.usd, 1e-9);
        EXPECT_EQ(e.currency, row.fields.currency);
        EXPECT_EQ(e.description, QString::fromUtf8(row.description));
        EXPECT_EQ(e.customerEmail, std::optional<QString>(row.fields.customerEmail));
        EXPECT_EQ(e.dashboardURL, u"https://dashboard.stripe.com/"_s + QString::fromLatin1(row.path));
        EXPECT_EQ(e.date, Date::fromUnix(row.fields.created));
    }
}

TEST(StripeClassifier, ChargesRefundsFailuresAndCancellations)
{
    Account acct = EngineFixture::stripeAccount(u"Main"_s);
    acct.stripeAccountId = u"acct_1PgafTB7WZ01zgkW"_s;
    const SucceededChargeEvent sale{u"evt_s"_s, Date::fromUnix(1'795'000'000),
                                    decoded<RawCharge>(charge({.id = u"ch_s"_s, .amount = 1000, .currency = u"eur"_s,
                                                         .description = {}, .email = u"a@b.io"_s, .name = u"Ana"_s},
                                                        Shape::Current))};
    const PaymentEvent saleEvent = StripeClassifier::fromStandaloneCharge(sale, acct);
    EXPECT_EQ(saleEvent.id, u"ch_s"_s);
    EXPECT_EQ(saleEvent.kind, RevenueKind::New);
    EXPECT_DOUBLE_EQ(saleEvent.amount, 10);
    EXPECT_DOUBLE_EQ(saleEvent.usdAmount, 10.8);
    EXPECT_EQ(saleEvent.description, u"Ana"_s);
    EXPECT_EQ(saleEvent.dashboardURL, u"https://dashboard.stripe.com/acct_1PgafTB7WZ01zgkW/payments/ch_s"_s);

    // A refund of an older charge is dated when Stripe reported the refund.
    QJsonObject refunded = charge({.id = u"ch_old"_s, .amount = 4900, .amountRefunded = 1500, .currency = u"eur"_s,
                                   .created = 1'790'000'000, .description = u"Subscription update"_s},
                                  Shape::Legacy);
    const RefundEvent refund{u"evt_r"_s, Date::fromUnix(1'795'035'700), decoded<RawCharge>(refunded)};
    const PaymentEvent refundEvent = StripeClassifier::fromRefund(refund, acct);
    EXPECT_EQ(refundEvent.id, u"refund_evt_r"_s);
    EXPECT_EQ(refundEvent.kind, RevenueKind::Refund);
    EXPECT_DOUBLE_EQ(refundEvent.amount, 15);
    EXPECT_EQ(refundEvent.date, Date::fromUnix(1'795'035'700));
    refunded.remove(u"amount_refunded"_s);
    EXPECT_DOUBLE_EQ(StripeClassifier::fromRefund({u"evt_r2"_s, {}, decoded<RawCharge>(refunded)}, acct).amount, 0);

    const FailedPaymentEvent failure{u"evt_f"_s, Date::fromUnix(1'795'040'000),
                                     decoded<RawInvoice>(invoice(
                                         {.id = u"in_f"_s, .amountPaid = 1500, .lineDescription = {}, .amountDue = 0},
                                         Shape::Current))};
    const PaymentEvent failed = StripeClassifier::fromFailedPayment(failure, acct);
    EXPECT_EQ(failed.id, u"failed_evt_f"_s);
    EXPECT_DOUBLE_EQ(failed.amount, 15) << "amount_due 0 falls back to amount_paid";
    EXPECT_EQ(failed.description, u"Jenny Rosen"_s);

    const SubscriptionCancellation cancellation{
        u"evt_c"_s, Date::fromUnix(1'795'100'100),
        decoded<RawSubscription>(subscription({.unitAmount = 1100, .interval = u"month"_s}, Shape::Legacy))};
    const PaymentEvent churn = StripeClassifier::fromCancellation(cancellation, acct);
    EXPECT_EQ(churn.id, u"churn_evt_c"_s);
    EXPECT_EQ(churn.kind, RevenueKind::Churn);
    EXPECT_DOUBLE_EQ(churn.amount, 11);
    EXPECT_EQ(churn.description, u"Canceled subscription"_s);
    EXPECT_FALSE(churn.customerEmail.has_value());
    EXPECT_EQ(churn.date, Date::fromUnix(1'795'100'100));
}

TEST(ChurnCustomers, RowsNameTheCustomerAndThePlanWithoutAnAmount)
{
    const auto sub = [](std::optional<QString> nickname, qint64 every) {
        const RawSubscription::SubscriptionPrice price{.unit_amount = 4900, .recurring = {{u"month"_s, every}}, .nickname = nickname};
        return RawSubscription{.id = u"sub_1"_s, .items = RawSubscription::SubscriptionItems{{{price, std::nullopt}}}};
    };
    const std::optional<QString> none, ana = u"ana@example.com"_s;
    const struct { RawSubscription sub; std::optional<ChurnCustomers::Customer> customer; QString description; } rows[] = {
        {sub(u"Team"_s, 1), {{u"cus_1"_s, ana, u"Ana Lima"_s}}, u"Ana Lima canceled Team"_s},
        {sub(none, 1), {{u"cus_1"_s, ana, u" "_s}}, u"Canceled monthly plan"_s}, // e-mail only; the plan by its interval
        {sub(none, 3), {{u"cus_1"_s, none, none}}, u"Canceled subscription"_s},   // deleted customer, quarterly price
        {sub(u"Pro"_s, 1), std::nullopt, u"Canceled Pro"_s},                     // customer not found
    };
    for (const auto &row : rows) {
        PaymentEvent event;
        ChurnCustomers::describe(event, row.sub, row.customer);
        EXPECT_EQ(event.description, row.description);
        EXPECT_EQ(event.customerEmail, row.customer ? row.customer->email : none) << row.description.toStdString();
    }
}
