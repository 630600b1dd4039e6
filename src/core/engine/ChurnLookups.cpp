// The customers behind cancelled subscriptions, looked up once per account and customer: a
// cancellation event names its customer only by id.
#include "RevenueEngine.h"

#include "engine/ChurnCustomers.h"
#include "stripe/StripeSource.h"

namespace {

QString cacheKey(const QUuid &accountId, const QString &customerId)
{
    return uuidText(accountId) + u'/' + customerId;
}

} // namespace

QCoro::Task<> RevenueEngine::lookUpChurnCustomers(Account account, std::shared_ptr<const StripeSource> source,
                                                  QList<SubscriptionCancellation> cancellations, CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    QStringList unknown;
    for (const SubscriptionCancellation &c : std::as_const(cancellations)) {
        const std::optional<QString> &id = c.subscription.customer;
        if (id && !id->isEmpty() && !m_churnCustomers.contains(cacheKey(account.id, *id)) && !unknown.contains(*id))
            unknown.append(*id);
    }
    // Side by side, within the key's request budget; every look-up is awaited before the
    // load goes on, and one that fails leaves its rows unnamed until a later load sees them.
    std::vector<StripeSource::Reply<ChurnCustomers::Customer>> lookups;
    lookups.reserve(unknown.size());
    for (const QString &id : std::as_const(unknown))
        lookups.push_back(source->fetchCustomer(id, token));
    for (std::size_t i = 0; i < lookups.size(); ++i) {
        auto answer = co_await lookups[i];
        if (self && !token.isCancelled() && answer.ok())
            self->m_churnCustomers.insert(cacheKey(account.id, unknown.at(qsizetype(i))), answer.value());
    }
}

std::optional<ChurnCustomers::Customer> RevenueEngine::churnCustomer(const QUuid &accountId,
                                                                    const std::optional<QString> &customerId) const
{
    if (!customerId)
        return std::nullopt;
    const auto found = m_churnCustomers.constFind(cacheKey(accountId, *customerId));
    return found == m_churnCustomers.cend() ? std::nullopt : std::optional(*found);
}
