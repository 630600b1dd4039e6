#pragma once

#include "mrr/MrrTypes.h"
#include "util/TimeContext.h"

#include <QHash>

// Twelve months of MRR rebuilt from what each subscription says of its life (start, trial
// end, cancellation, end) and what its paid invoices charged per period.
namespace MrrHistory {

struct Rebuilt
{
    QList<MrrMonth> months;                 // oldest first, the running month last
    QList<CustomerMovement> monthMovements; // of the running month
    MrrSummary summary;                     // the running month's
};

// MRR of one subscription at `at` (USD): zero outside its life; inside it, what the paid
// line covering `at` charged per month, else the subscription's own items.
double subscriptionUsdAt(const MrrSubscription &subscription, const QList<MrrInvoiceLine> &lines, Date at,
                         bool countTrials, Date now);

// `lines` grouped by subscription id. `monthCount` months up to and including the one of `now`.
Rebuilt rebuild(const QList<MrrSubscription> &subscriptions, const QHash<QString, QList<MrrInvoiceLine>> &lines,
                Date now, const TimeContext &calendar, bool countTrials, int monthCount = 12);

} // namespace MrrHistory
