#pragma once

#include "util/Clock.h"

#include <QList>
#include <memory>

// A clock whose time moves only when the test says so. Sleepers wake in deadline order as
// time is advanced, with the event loop run between wake-ups so their coroutines go on.
// advance() moves the wall clock and the monotonic one together; set() steps the wall clock
// alone, as an NTP correction or a resumed virtual machine does, and wakes nobody.
class VirtualClock final : public Clock
{
public:
    explicit VirtualClock(Date start = Date::fromUnix(1'773'144'000)); // 2026-03-10 12:00:00 UTC

    Date now() const override { return m_now; }
    double monotonicSeconds() const override { return m_monotonic; }
    QCoro::Task<> sleep(double seconds, CancellationToken token) override;

    void set(Date now) { m_now = now; }
    // Moves time forward by `seconds`, waking every sleeper whose deadline passes.
    void advance(double seconds);
    // Runs the event loop until nothing is ready to run (pending network replies aside).
    static void settle(int rounds = 20);

    int sleepingCount() const;
    // Every sleep requested so far, in seconds, in order.
    const QList<double> &requestedSleeps() const { return m_requested; }

private:
    struct Sleeper { double deadline; std::shared_ptr<Waker> waker; }; // monotonic
    Date m_now;
    double m_monotonic = 1000.0;
    QList<Sleeper> m_sleepers;
    QList<double> m_requested;
};
