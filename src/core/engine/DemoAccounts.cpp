// The built-in demo business as an account of the engine.
#include "RevenueEngine.h"

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
