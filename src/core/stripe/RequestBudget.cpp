#include "RequestBudget.h"

RequestBudget::RequestBudget(int requestsPerSecond, std::shared_ptr<Clock> clock)
    : m_perSecond(std::max(0, requestsPerSecond))
    , m_clock(std::move(clock))
    , m_pausedUntil(m_clock->monotonicSeconds())
{
}

int RequestBudget::requestsPerSecondFor(const QString &restrictedKey)
{
    const bool live = restrictedKey.startsWith(QLatin1StringView("sk_live_"))
        || restrictedKey.startsWith(QLatin1StringView("rk_live_"));
    return live ? liveRequestsPerSecond : testRequestsPerSecond;
}

double RequestBudget::waitNeeded() const
{
    const double now = m_clock->monotonicSeconds();
    double wait = std::max(0.0, m_pausedUntil - now);
    if (m_perSecond > 0 && m_spent.size() >= m_perSecond)
        wait = std::max(wait, m_spent[m_spent.size() - m_perSecond] + 1.0 - now);
    return wait;
}

QCoro::Task<bool> RequestBudget::acquire(CancellationToken token)
{
    // Callers hold the budget by a shared pointer for as long as they await this.
    const std::shared_ptr<Clock> clock = m_clock;
    for (;;) {
        if (token.isCancelled())
            co_return false;
        const double wait = waitNeeded();
        if (wait < 0.001) // a clock's rounding, not a wait
            break;
        co_await clock->sleep(wait, token);
    }
    if (m_perSecond == 0)
        co_return true;
    const double now = m_clock->monotonicSeconds();
    while (!m_spent.isEmpty() && m_spent.first() + 1.0 <= now)
        m_spent.removeFirst();
    m_spent.append(now);
    co_return true;
}

void RequestBudget::pause(double seconds)
{
    m_pausedUntil = std::max(m_pausedUntil, m_clock->monotonicSeconds() + seconds);
}
