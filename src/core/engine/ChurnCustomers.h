#pragma once

#include "model/PaymentEvent.h"
#include "stripe/StripeSubscriptions.h"

// What a churn row says: who cancelled and which plan. Pure functions; the engine looks each
// customer up once per account and keeps the answer (ChurnLookups.cpp).
namespace ChurnCustomers {

using Customer = ExpandedSubscription::SubCustomer;

// The first item's plan name; else "monthly plan", "yearly plan" from its interval (no
// amount, so it can be shown with privacy on); empty when neither is known.
QString planOf(const RawSubscription &sub);

// "Jenny Rosen canceled Pro yearly": the customer by name; the e-mail goes where the event
// keeps it, for copying and grouping. Without a name: "Canceled Pro yearly".
void describe(PaymentEvent &event, const RawSubscription &sub, const std::optional<Customer> &customer);

} // namespace ChurnCustomers
