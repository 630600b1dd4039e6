#pragma once

#include "mrr/MrrTypes.h"

#include <QHash>
#include <QSet>
#include <optional>

// Customer MRR, movements between two dates and the month's figures: pure functions.
namespace MrrMath {

// Below a hundredth of a cent a change is rounding, not a movement.
inline constexpr double negligibleUsd = 0.0001;

// Customers keyed "account/customer" so the same id on two accounts stays two customers.
using CustomerKey = QString;
CustomerKey customerKey(const QUuid &accountId, const QString &customerId);
using CustomerMrr = QHash<CustomerKey, double>;

// Per customer, the MRR (USD) of the subscriptions that have one at `at`.
CustomerMrr customerMrr(const QList<MrrSubscription> &subscriptions, Date at, bool countTrials);

// How a customer's MRR going from `fromUsd` to `toUsd` counts; none when it did not move.
std::optional<MrrMovementKind> classify(double fromUsd, double toUsd, bool hadMrrBefore);

// Each customer whose MRR changed from `before` to `after`; a customer going from nothing
// to some MRR is new, or reactivated when in `hadMrrBefore`. Largest change first.
QList<CustomerMovement> customerMovements(const CustomerMrr &before, const CustomerMrr &after,
                                          const QSet<CustomerKey> &hadMrrBefore);
MrrMovements totals(const QList<CustomerMovement> &movements);

double total(const CustomerMrr &mrr);
int activeCustomers(const CustomerMrr &mrr);

// The month's figures from MRR at its start and now.
MrrSummary summary(const CustomerMrr &monthStart, const CustomerMrr &now, const MrrMovements &movements);

} // namespace MrrMath
