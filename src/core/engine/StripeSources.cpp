#include "StripeSources.h"

#include "demo/DemoStripeSource.h"
#include "stripe/RequestBudget.h"
#include "stripe/StripeSource.h"

StripeSources::StripeSources(QUrl stripeApi, std::shared_ptr<Clock> clock, std::optional<int> requestsPerSecond,
                             int maxSlices)
    : m_stripeApi(std::move(stripeApi))
    , m_clock(std::move(clock))
    , m_requestsPerSecond(requestsPerSecond)
    , m_maxSlices(maxSlices)
{
}

StripeSources::~StripeSources() = default;

std::shared_ptr<const StripeSource> StripeSources::sourceFor(const Account &account) const
{
    if (!account.isDemo()) {
        StripeClient client(account, m_stripeApi, budgetFor(account.stripeRestrictedKey));
        client.setMaxSlices(m_maxSlices);
        return std::make_shared<HttpStripeSource>(std::move(client));
    }
    if (!m_demoRetries)
        m_demoRetries = std::make_shared<DemoRetryBook>();
    return std::make_shared<DemoStripeSource>(account, m_clock, m_demoRetries);
}

std::shared_ptr<RequestBudget> StripeSources::budgetFor(const QString &restrictedKey) const
{
    std::shared_ptr<RequestBudget> &budget = m_budgets[restrictedKey];
    if (!budget)
        budget = std::make_shared<RequestBudget>(
            m_requestsPerSecond.value_or(RequestBudget::requestsPerSecondFor(restrictedKey)), m_clock);
    return budget;
}
