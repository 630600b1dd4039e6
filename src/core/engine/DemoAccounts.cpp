// The built-in demo business as an account of the engine.
#include "RevenueEngine.h"

#include "demo/DemoStripeSource.h"

void RevenueEngine::addDemoAccount()
{
    if (std::none_of(m_accounts.begin(), m_accounts.end(), [](const Account &a) { return a.isDemo(); }))
        upsertAccount(Account::newDemoAccount());
    triggerRefresh();
}

std::shared_ptr<const StripeSource> RevenueEngine::stripeSource(const Account &account) const
{
    if (!account.isDemo())
        return std::make_shared<HttpStripeSource>(StripeClient(account, m_env.endpoints.stripeApi));
    if (!m_demoRetries)
        m_demoRetries = std::make_shared<DemoRetryBook>();
    return std::make_shared<DemoStripeSource>(account, m_env.clock, m_demoRetries);
}
