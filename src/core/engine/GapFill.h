#pragma once

#include "model/Account.h"
#include "model/PaymentEvent.h"
#include "stripe/StripeRecords.h"
#include "util/TimeContext.h"

#include <QHash>

// The 31–90-day history that the event queries cannot reach, rebuilt from succeeded
// charges. Pure functions; the engine's gap-fill task does the fetching around them.
namespace GapFill {

struct Window
{
    Date start;
    Date end;
};

// From `lookbackDays` to 31 days before `now` (wall-clock times, not day starts); none when
// that span is empty.
std::optional<Window> window(Date now, const TimeContext &calendar, int lookbackDays);

// Charge id → the invoice it paid. An old-shape charge names its invoice itself; for the
// newer shape the link comes from Stripe's invoice-payment records, the same linking the
// main load uses.
using InvoiceLinks = QHash<QString, QString>;
// Links each charge to the invoice whose listed payment names it or its payment intent.
InvoiceLinks linksFrom(const QList<RawCharge> &charges, const QList<RawInvoicePayment> &payments);

// A charge turned into an event, with the invoice it paid when it paid one.
struct HistoricalEvent
{
    PaymentEvent event;
    std::optional<QString> invoiceId;
};

// Recurring when the charge paid an invoice, new otherwise; none for a zero or missing
// amount. A charge without `created` is dated `now`.
std::optional<HistoricalEvent> fromCharge(const RawCharge &charge, const Account &account, const InvoiceLinks &links,
                                          Date now);

// Adds the historical events the feed does not hold yet: events already in the feed win, and
// a charge whose invoice is already in the feed is that invoice's payment, not a second
// sale. Then drops events before `horizon` and sorts newest first.
QList<PaymentEvent> merge(const QList<PaymentEvent> &feed, const QList<HistoricalEvent> &historical, Date horizon);

} // namespace GapFill
