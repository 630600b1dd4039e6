#pragma once

#include "engine/InvoiceLinking.h"
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

// A charge turned into an event, with the invoice it paid when it paid one.
struct HistoricalEvent
{
    PaymentEvent event;
    std::optional<QString> invoiceId;
};

// Recurring when the charge paid an invoice (`links`, see InvoiceLinking), new otherwise.
// Worth what was kept of it: the amount less `amount_refunded`; none when nothing was kept.
// A charge without `created` is dated `now`.
std::optional<HistoricalEvent> fromCharge(const RawCharge &charge, const Account &account,
                                          const InvoiceLinking::Links &links, Date now);

// Adds the historical events the feed does not hold yet: events already in the feed win, and
// a charge whose invoice is already in the feed is that invoice's payment, not a second
// sale. Then drops events before `horizon` and sorts newest first.
QList<PaymentEvent> merge(const QList<PaymentEvent> &feed, const QList<HistoricalEvent> &historical, Date horizon);

} // namespace GapFill
