#pragma once

#include "mrr/MrrTypes.h"
#include "util/Cancellation.h"
#include "util/Result.h"

#include <QCoroTask>
#include <QHash>

class StripeSource;

// One Stripe account's subscriptions and their paid invoice lines, as MRR inputs.
struct MrrListing
{
    QList<MrrSubscription> subscriptions;
    QHash<QString, QList<MrrInvoiceLine>> lines; // by subscription id
};

namespace MrrSource {

// Every subscription of the account (any status) and the subscription lines of the invoices
// paid since `since`, with metered items priced from their last paid line.
QCoro::Task<Result<MrrListing, QString>> load(std::shared_ptr<const StripeSource> source, QUuid accountId, Date since,
                                            CancellationToken token);

} // namespace MrrSource
