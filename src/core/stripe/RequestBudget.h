#pragma once

#include "util/Cancellation.h"
#include "util/Clock.h"

#include <QCoroTask>
#include <QList>
#include <optional>
#include <memory>

// How many requests one Stripe account may start per second. Stripe allows about 100 read
// requests a second in live mode and 25 in test mode; the budget keeps to 80 % of that so
// other tools on the same account still get through. No window of 1 + arrivalSpread seconds
// holds more than `rate` starts: a load of fewer requests than that goes at once, a longer
// one at the rate, and no sliding second at the server sees more than the rate even when
// requests reach it up to arrivalSpread seconds later than they left, some sooner than others.
class RequestBudget
{
public:
    static constexpr int liveRequestsPerSecond = 80;
    static constexpr int testRequestsPerSecond = 20;
    static constexpr double arrivalSpread = 0.05;

    // 0 requests per second: no limit.
    RequestBudget(int requestsPerSecond, std::shared_ptr<Clock> clock);

    // The budget for a key: live keys (sk_live_, rk_live_) get the live rate, all others
    // the test rate.
    static int requestsPerSecondFor(const QString &restrictedKey);

    int requestsPerSecond() const { return m_perSecond; }

    // Waits for this request's turn to start; false when `token` was cancelled first. Turns
    // are given in the order asked for; ask just before the request leaves.
    QCoro::Task<bool> acquire(CancellationToken token);
    // Holds every request back for `seconds` from now, as a 429's Retry-After asks.
    void pause(double seconds);
    // Waits until no pause holds requests back; false when `token` was cancelled first.
    QCoro::Task<bool> waitOutPause(CancellationToken token);

    const std::shared_ptr<Clock> &clock() const { return m_clock; }

private:
    int m_perSecond;
    std::shared_ptr<Clock> m_clock;
    // On the clock's monotonic seconds: a wall clock stepped back an hour must not hold
    // requests back for that hour.
    QList<double> m_starts; // the last `rate` turns' starts, oldest first
    double m_pausedUntil;
    QList<std::shared_ptr<Waker>> m_waiting; // in line for a start, the first one next
};
