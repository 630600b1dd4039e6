#pragma once

#include "stripe/StripeError.h"
#include "stripe/StripeRecords.h"
#include "util/Cancellation.h"
#include "util/Result.h"

#include <QCoroTask>
#include <QHash>
#include <memory>
#include <optional>

class StripeSource;

// Which charges paid an invoice. A subscription payment shows up twice, as the paid invoice
// and as the charge that paid it, and only the invoice may count. The older object shape
// links the two itself (charge.invoice, invoice.charge, invoice.payment_intent); the current
// one only through Stripe's invoice-payment records. The recent load and the 31–90-day fill
// both link charges here, so a charge is placed the same way whichever of them sees it.
namespace InvoiceLinking {

// Stripe records an invoice's payment when the invoice is finalized, moments before the
// charge that pays it, so the records are listed from this long before a window starts.
constexpr double listingMarginSeconds = 3600.0;
Date listingStart(Date windowStart);

// Charge id → the invoice it paid.
using Links = QHash<QString, QString>;

// The links the charges' and invoices' own fields and the paid records give.
Links match(const QList<RawCharge> &charges, const QList<RawInvoice> &invoices, const QList<RawInvoicePayment> &payments);

// A charge nothing links although it may have paid an invoice: the current shape (no
// `invoice` key at all), a positive amount, and no link found.
bool isUnplaced(const RawCharge &charge, const Links &links);

struct Outcome
{
    Links links;
    // The key may not list invoice payments: only the objects' own links count, and a
    // current-shape charge counts as a sale.
    bool refused = false;
    // The records could not all be read: an unplaced charge cannot be told from a sale.
    std::optional<StripeError> failure;
};

// Links the charges, given the listing of paid records from listingStart(window start).
// A charge still unplaced after it is looked up by its payment intent: its invoice was paid
// long after the payment was recorded (a retried invoice), before the listing reaches.
QCoro::Task<Outcome> link(std::shared_ptr<const StripeSource> source, QList<RawCharge> charges,
                          QList<RawInvoice> invoices, Result<QList<RawInvoicePayment>, StripeError> listed,
                          CancellationToken token);

} // namespace InvoiceLinking
