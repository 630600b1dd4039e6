#pragma once

#include "model/PaymentEvent.h"
#include "mrr/MrrTypes.h"

// PayPal lists no subscriptions: its MRR is estimated from the recurring payments of the
// last 30 days, one monthly amount per payer.
namespace PayPalMrr {

inline constexpr int windowDays = 30;

// Per payer (e-mail, else the description), the USD of the recurring payments of the
// `windowDays` before `now`, as subscriptions that the MRR rules take as they are.
QList<MrrSubscription> estimate(const QList<PaymentEvent> &paypalEvents, Date now);

} // namespace PayPalMrr
