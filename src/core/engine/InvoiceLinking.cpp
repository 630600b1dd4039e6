#include "InvoiceLinking.h"

#include "stripe/StripeSource.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace InvoiceLinking {
namespace {

bool present(const std::optional<QString> &id)
{
    return id && !id->isEmpty();
}

bool isScopeRefusal(const StripeError &error)
{
    return error.kind() == StripeError::Kind::Http && (error.status() == 401 || error.status() == 403);
}

} // namespace

Date listingStart(Date windowStart)
{
    return windowStart.addingSeconds(-listingMarginSeconds);
}

Links match(const QList<RawCharge> &charges, const QList<RawInvoice> &invoices, const QList<RawInvoicePayment> &payments)
{
    QHash<QString, QString> invoiceByCharge;
    QHash<QString, QString> invoiceByIntent;
    for (const RawInvoice &invoice : invoices) {
        if (present(invoice.charge))
            invoiceByCharge.insert(*invoice.charge, invoice.id);
        if (present(invoice.payment_intent))
            invoiceByIntent.insert(*invoice.payment_intent, invoice.id);
    }
    for (const RawInvoicePayment &payment : payments) {
        if (!present(payment.invoice) || payment.status.value_or(u"paid"_s) != u"paid"_s)
            continue;
        if (present(payment.charge))
            invoiceByCharge.insert(*payment.charge, *payment.invoice);
        if (present(payment.payment_intent))
            invoiceByIntent.insert(*payment.payment_intent, *payment.invoice);
    }
    Links links;
    for (const RawCharge &charge : charges) {
        if (present(charge.invoice))
            links.insert(charge.id, *charge.invoice);
        else if (auto byCharge = invoiceByCharge.constFind(charge.id); byCharge != invoiceByCharge.cend())
            links.insert(charge.id, *byCharge);
        else if (present(charge.payment_intent))
            if (auto byIntent = invoiceByIntent.constFind(*charge.payment_intent); byIntent != invoiceByIntent.cend())
                links.insert(charge.id, *byIntent);
    }
    return links;
}

bool isUnplaced(const RawCharge &charge, const Links &links)
{
    return !charge.carriesInvoiceLink && charge.amount.value_or(0) > 0 && !links.contains(charge.id);
}

QCoro::Task<Outcome> link(std::shared_ptr<const StripeSource> source, QList<RawCharge> charges,
                          QList<RawInvoice> invoices, Result<QList<RawInvoicePayment>, StripeError> listed,
                          CancellationToken token)
{
    Outcome outcome;
    if (!listed.ok()) {
        outcome.refused = isScopeRefusal(listed.error());
        if (!outcome.refused)
            outcome.failure = listed.error();
        outcome.links = match(charges, invoices, {});
        co_return outcome;
    }
    QList<RawInvoicePayment> payments = std::move(listed).value();
    outcome.links = match(charges, invoices, payments);

    QStringList intents;
    for (const RawCharge &charge : std::as_const(charges))
        if (isUnplaced(charge, outcome.links) && present(charge.payment_intent) && !intents.contains(*charge.payment_intent))
            intents.append(*charge.payment_intent);
    if (intents.isEmpty())
        co_return outcome;
    // Side by side; every one is awaited, so none outlives the caller's load.
    std::vector<StripeSource::Reply<QList<RawInvoicePayment>>> lookups;
    for (const QString &intent : std::as_const(intents))
        lookups.push_back(source->fetchPaidInvoicePaymentsByIntent(intent, token));
    for (auto &lookup : lookups) {
        auto found = co_await lookup;
        if (found.ok())
            payments.append(found.value());
        else if (!outcome.failure)
            outcome.failure = found.error();
    }
    outcome.links = match(charges, invoices, payments);
    co_return outcome;
}

} // namespace InvoiceLinking
