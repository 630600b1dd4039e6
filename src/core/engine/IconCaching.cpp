// The engine's side of the account icon cache: where learnt domains are stored.
#include "RevenueEngine.h"

#include "icons/IconCache.h"

std::unique_ptr<IconCache> RevenueEngine::makeIconCache()
{
    IconCache::Hooks hooks;
    hooks.find = [this](const QUuid &id) -> std::optional<Account> {
        for (const Account &a : m_accounts)
            if (a.id == id)
                return a;
        return std::nullopt;
    };
    hooks.store = [this](const Account &account) { upsertAccount(account); };
    hooks.stripeBudget = [this](const QString &restrictedKey) { return m_sources.budgetFor(restrictedKey); };
    auto cache = std::make_unique<IconCache>(m_env.storage, m_env.endpoints.stripeApi, m_env.endpoints.icons, hooks);
    // Re-publishing the accounts makes every view that shows them pick the new file up.
    connect(cache.get(), &IconCache::iconStored, this, &RevenueEngine::accountsChanged);
    return cache;
}
