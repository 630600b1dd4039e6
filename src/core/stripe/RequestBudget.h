#pragma once

#include "util/Cancellation.h"
#include "util/Clock.h"

#include <QCoroTask>
#include <QList>
#include <memory>

// How many requests one Stripe account may start per second. Stripe allows about 100 read
// requests a second in live mode and 25 in test mode; the budget keeps to 80 % of that so
// other tools on the same account still get through. Tokens: each request spends one and
// gets it back one second later, so no second ever sees more starts than the budget.
class RequestBudget
{
public:
    static constexpr int liveRequestsPerSecond = 80;
    static constexpr int testRequestsPerSecond = 20;

    // 0 requests per second: no limit.
    RequestBudget(int requestsPerSecond, std::shared_ptr<Clock> clock);

    // The budget for a key: live keys (sk_live_, rk_live_) get the live rate, all others
    // the test rate.
    static int requestsPerSecondFor(const QString &restrictedKey);

    int requestsPerSecond() const { return m_perSecond; }

    // Waits for a token; false when `token` was cancelled first.
    QCoro::Task<bool> acquire(CancellationToken token);
    // Holds every request back for `seconds` from now, as a 429's Retry-After asks.
    void pause(double seconds);

    const std::shared_ptr<Clock> &clock() const { return m_clock; }

private:
    // Seconds until a token is free, 0 when one is.
    double waitNeeded() const;

    int m_perSecond;
    std::shared_ptr<Clock> m_clock;
    // On the clock's monotonic seconds: a wall clock stepped back an hour must not hold
    // requests back for that hour.
    QList<double> m_spent; // start times within the last second, oldest first
    double m_pausedUntil;
};
