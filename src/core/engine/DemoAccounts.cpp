// The built-in demo business as an account of the engine.
#include "RevenueEngine.h"

#include "demo/DemoStripeSource.h"
#include "engine/GapFill.h"

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

// The demo's 31–90-day history comes from its charges, as a real Stripe account's does: the
// same fill runs over its source, once per demo account and process.
void RevenueEngine::fillDemoHistory()
{
    QList<Account> demos;
    for (const Account &a : std::as_const(m_accounts))
        if (a.enabled && a.isDemo() && !m_demoHistoryFilled.contains(a.id))
            demos.append(a);
    if (demos.isEmpty() || m_isLoadingHistoricalGap)
        return;
    const auto window = GapFill::window(now(), m_env.calendar, historicalDeepLookbackDays);
    if (!window)
        return;
    for (const Account &a : std::as_const(demos))
        m_demoHistoryFilled.insert(a.id);
    // The fill marks the whole gap as filled when it ends; a real account still waiting for
    // its own fill keeps that one due.
    const bool realFillDue = !m_historicalGapFilled;
    assign(m_isLoadingHistoricalGap, true, &RevenueEngine::isLoadingHistoricalGapChanged);
    m_backgroundTasks.start([&](CancellationToken token) { return runDemoHistoryFill(demos, *window, realFillDue, token); });
}

QCoro::Task<> RevenueEngine::runDemoHistoryFill(QList<Account> demos, GapFill::Window window, bool realFillDue,
                                                CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    co_await runHistoricalGapFill(std::move(demos), window, token);
    if (self && !token.isCancelled() && realFillDue)
        m_historicalGapFilled = false;
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
