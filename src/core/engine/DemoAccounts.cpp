// The built-in demo business as an account of the engine.
#include "RevenueEngine.h"

#include "demo/DemoStripeSource.h"

void RevenueEngine::addDemoAccount()
{
    if (std::none_of(m_accounts.begin(), m_accounts.end(), [](const Account &a) { return a.isDemo(); }))
        upsertAccount(Account::newDemoAccount());
    triggerRefresh();
}

void RevenueEngine::removeDemoAccounts()
{
    const QList<Account> accounts = m_accounts;
    for (const Account &a : accounts)
        if (a.isDemo())
            removeAccount(a);
}

bool RevenueEngine::hasOwnAccounts() const
{
    return std::any_of(m_accounts.cbegin(), m_accounts.cend(), [](const Account &a) { return !a.isDemo(); });
}

bool RevenueEngine::showsDemo() const
{
    return std::any_of(m_accounts.cbegin(), m_accounts.cend(), [](const Account &a) { return a.enabled && a.isDemo(); });
}

std::shared_ptr<const StripeSource> RevenueEngine::stripeSource(const Account &account) const
{
    if (!account.isDemo()) {
        StripeClient client(account, m_env.endpoints.stripeApi, stripeBudget(account.stripeRestrictedKey));
        client.setMaxSlices(m_env.stripeMaxSlices);
        return std::make_shared<HttpStripeSource>(std::move(client));
    }
    if (!m_demoRetries)
        m_demoRetries = std::make_shared<DemoRetryBook>();
    return std::make_shared<DemoStripeSource>(account, m_env.clock, m_demoRetries);
}

std::shared_ptr<RequestBudget> RevenueEngine::stripeBudget(const QString &restrictedKey) const
{
    std::shared_ptr<RequestBudget> &budget = m_stripeBudgets[restrictedKey];
    if (!budget)
        budget = std::make_shared<RequestBudget>(
            m_env.stripeRequestsPerSecond.value_or(RequestBudget::requestsPerSecondFor(restrictedKey)), m_env.clock);
    return budget;
}
