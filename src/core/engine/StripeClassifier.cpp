#include "StripeClassifier.h"

#include "engine/RevenueEngine.h"
#include "model/CurrencyConverter.h"


using namespace Qt::StringLiterals;

namespace StripeClassifier {
namespace {

PaymentEvent base(const Account &account, QString id, Date date, double amount, const QString &currency, RevenueKind kind)
{
    PaymentEvent e;
    e.id = std::move(id);
    e.date = date;
    e.amount = amount;
    e.currency = currency;
    e.usdAmount = CurrencyConverter::toUSD(amount, currency);
    e.accountId = account.id;
    e.accountName = account.name;
    e.kind = kind;
    return e;
}

QString firstPresent(std::initializer_list<const std::optional<QString> *> candidates, const QString &fallback)
{
    for (const auto *c : candidates)
        if (*c && !(*c)->isEmpty())
            return **c;
    return fallback;
}

std::optional<QString> firstLineDescription(const RawInvoice &invoice)
{
    if (!invoice.lines || invoice.lines->data.isEmpty())
        return std::nullopt;
    return invoice.lines->data.first().description;
}

std::optional<QString> billingName(const RawCharge &charge)
{
    return charge.billing_details ? charge.billing_details->name : std::nullopt;
}

std::optional<QString> billingEmail(const RawCharge &charge)
{
    return charge.billing_details ? charge.billing_details->email : std::nullopt;
}

QString invoicePath(const RawInvoice &invoice)
{
    if (invoice.charge && !invoice.charge->isEmpty())
        return u"payments/"_s + *invoice.charge;
    return u"invoices/"_s + invoice.id;
}

PaymentEvent fromInvoice(const RawInvoice &invoice, const Account &account, QString id, Date date, double amount,
                         RevenueKind kind, const QString &fallback)
{
    PaymentEvent e = base(account, std::move(id), date, amount, invoice.currency, kind);
    const auto line = firstLineDescription(invoice);
    e.description = firstPresent({&line, &invoice.customer_name, &invoice.customer_email}, fallback);
    e.customerEmail = invoice.customer_email;
    e.dashboardURL = RevenueEngine::stripeURL(account, invoicePath(invoice));
    return e;
}

} // namespace

PaymentEvent fromPaidInvoice(const RawInvoice &invoice, const Account &account)
{
    const RevenueKind kind = invoice.billing_reason == u"subscription_create"_s ? RevenueKind::New : RevenueKind::Recurring;
    return fromInvoice(invoice, account, invoice.id, Date::fromUnix(invoice.created),
                       CurrencyConverter::fromMinorUnits(invoice.amount_paid, invoice.currency), kind, u"Payment"_s);
}

PaymentEvent fromFailedPayment(const FailedPaymentEvent &failure, const Account &account)
{
    const RawInvoice &invoice = failure.invoice;
    const qint64 minor = invoice.amount_due && *invoice.amount_due >= 1 ? *invoice.amount_due : invoice.amount_paid;
    return fromInvoice(invoice, account, u"failed_"_s + failure.eventId, failure.failedAt,
                       CurrencyConverter::fromMinorUnits(minor, invoice.currency), RevenueKind::Failed, u"Failed payment"_s);
}

PaymentEvent fromStandaloneCharge(const SucceededChargeEvent &event, const Account &account)
{
    const RawCharge &charge = event.charge;
    PaymentEvent e = base(account, charge.id, event.succeededAt,
                          CurrencyConverter::fromMinorUnits(charge.amount.value_or(0), charge.currency), charge.currency,
                          RevenueKind::New);
    std::optional<QString> plan;
    if (charge.metadata)
        if (auto it = charge.metadata->constFind(u"plan"_s); it != charge.metadata->cend())
            plan = *it;
    const std::optional<QString> name = billingName(charge);
    const std::optional<QString> email = billingEmail(charge);
    e.description = firstPresent({&charge.description, &plan, &name, &email}, u"Payment"_s);
    e.customerEmail = email;
    e.dashboardURL = RevenueEngine::stripeURL(account, u"payments/"_s + charge.id);
    return e;
}

PaymentEvent fromRefund(const RefundEvent &refund, const Account &account)
{
    const RawCharge &charge = refund.charge;
    PaymentEvent e = base(account, u"refund_"_s + refund.eventId, refund.refundedAt,
                          CurrencyConverter::fromMinorUnits(charge.amount_refunded.value_or(0), charge.currency),
                          charge.currency, RevenueKind::Refund);
    const std::optional<QString> name = billingName(charge);
    const std::optional<QString> email = billingEmail(charge);
    e.description = firstPresent({&charge.description, &name, &email}, u"Refund"_s);
    e.customerEmail = email;
    e.dashboardURL = RevenueEngine::stripeURL(account, u"payments/"_s + charge.id);
    return e;
}

PaymentEvent fromCancellation(const SubscriptionCancellation &cancellation, const Account &account)
{
    const RawSubscription &sub = cancellation.subscription;
    PaymentEvent e = base(account, u"churn_"_s + cancellation.eventId, cancellation.canceledAt,
                          sub.approximateMonthlyAmount(), sub.currency, RevenueKind::Churn);
    e.description = u"Canceled subscription"_s;
    e.dashboardURL = RevenueEngine::stripeURL(account, u"subscriptions/"_s + sub.id);
    return e;
}

} // namespace StripeClassifier
