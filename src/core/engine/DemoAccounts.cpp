// The built-in demo business as an account of the engine.
#include "RevenueEngine.h"

void RevenueEngine::addDemoAccount()
{
    if (std::none_of(m_accounts.begin(), m_accounts.end(), [](const Account &a) { return a.isDemo(); }))
        upsertAccount(Account::newDemoAccount());
    triggerRefresh();
}
