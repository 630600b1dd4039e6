#include "RequestBudget.h"

#include <QCoroSignal>
#include <QScopeGuard>

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

QCoro::Task<bool> RequestBudget::acquire(CancellationToken token)
{
    // Callers hold the budget by a shared pointer for as long as they await this.
    const std::shared_ptr<Clock> clock = m_clock;
    // One waiter at a time waits for the clock, the first in line.
    const auto waiter = std::make_shared<Waker>();
    if (!m_waiting.isEmpty())
        QObject::connect(token.state(), &CancellationState::cancelled, waiter.get(), &Waker::wake);
    m_waiting.append(waiter);
    // Also when the frame goes unresumed: a waiter left in line would stop everyone behind it.
    const auto leaveLine = qScopeGuard([this, waiter] {
        const bool first = m_waiting.first() == waiter;
        m_waiting.removeOne(waiter);
        if (first && !m_waiting.isEmpty())
            m_waiting.first()->wake();
    });
    if (m_waiting.first() != waiter)
        co_await qCoro(waiter.get(), &Waker::woke);
    for (;;) {
        if (token.isCancelled())
            co_return false;
        const double now = clock->monotonicSeconds();
        // A full window frees a turn when its oldest start leaves it.
        const bool full = m_perSecond > 0 && m_starts.size() >= m_perSecond;
        const double turn = std::max(full ? m_starts.first() + 1.0 + arrivalSpread : now, m_pausedUntil);
        if (turn - now < 0.0005) { // a timer's rounding, not a wait
            if (m_perSecond > 0) {
                if (full)
                    m_starts.removeFirst();
                m_starts.append(std::max(now, turn));
            }
            co_return true;
        }
        const double wait = turn - now;
        co_await clock->sleep(wait, token);
    }
}

QCoro::Task<bool> RequestBudget::waitOutPause(CancellationToken token)
{
    const std::shared_ptr<Clock> clock = m_clock;
    for (;;) {
        if (token.isCancelled())
            co_return false;
        const double wait = m_pausedUntil - clock->monotonicSeconds();
        if (wait < 0.0005)
            co_return true;
        co_await clock->sleep(wait, token);
    }
}

void RequestBudget::pause(double seconds)
{
    m_pausedUntil = std::max(m_pausedUntil, m_clock->monotonicSeconds() + seconds);
}
