#pragma once

#include "mrr/MrrTypes.h"
#include "util/Cancellation.h"
#include "util/Result.h"

#include <QCoroTask>
#include <QHash>
#include <memory>

class StripeSource;
struct BillingSubscription;
struct BillingInvoice;

// One Stripe account's subscriptions and their paid invoice lines, as MRR inputs.
struct MrrListing
{
    QList<MrrSubscription> subscriptions;
    QHash<QString, QList<MrrInvoiceLine>> lines; // by subscription id
};

namespace MrrSource {

// Stripe's records as MRR inputs: prorations and one-off items left out, metered items
// priced from their latest paid line.
MrrListing fromStripe(const QList<BillingSubscription> &subscriptions, const QList<BillingInvoice> &invoices,
                      const QUuid &accountId);

// Every subscription of the account (any status) and the subscription lines of the invoices
// paid since `since`.
QCoro::Task<Result<MrrListing, QString>> load(std::shared_ptr<const StripeSource> source, QUuid accountId, Date since,
                                            CancellationToken token);

} // namespace MrrSource
