#pragma once

#include "mrr/MrrTypes.h"

// A subscription's MRR by the rules of the pane: every item's unit amount times its
// quantity (metered items: what the last paid invoice charged for them), less the discounts
// in force, normalised to a month, for the statuses that count.
namespace SubscriptionMrr {

// The item normalised to a month, in minor units of the subscription's currency.
double monthlyMinorUnits(const MrrItem &item);
// Minor units per period of `interval` × `intervalCount` as minor units per month.
double perMonth(double amount, QStringView interval, qint64 intervalCount);
// Whether a subscription in `status` counts.
bool counts(QStringView status, bool countTrials);
// The subscription's MRR at `at` (its status as listed now), in minor units of its currency.
double monthlyMinorUnits(const MrrSubscription &subscription, Date at, bool countTrials);
// The items less the discounts in force at `at`, whatever the status, in minor units.
double termsMinorUnits(const MrrSubscription &subscription, Date at);
// Minor units of `currency` in US dollars at the app's rates (an unknown currency: 0).
double toUsd(double minorUnits, QStringView currency);
// The subscription's MRR in US dollars.
double monthlyUsd(const MrrSubscription &subscription, Date at, bool countTrials);

} // namespace SubscriptionMrr
