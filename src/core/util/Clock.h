#pragma once

#include "util/Cancellation.h"
#include "util/Date.h"

#include <QCoroTask>

// The source of "now" and of sleeping. Loops sleep through it so that tests can run
// hours of schedule in virtual time.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual Date now() const = 0;
    // Seconds on a clock that moves forward at the pace of real time whatever the wall clock
    // does (an NTP correction, a resumed virtual machine): what waits are measured on.
    virtual double monotonicSeconds() const = 0;
    // Completes after `seconds` of monotonic time, or as soon as `token` is cancelled.
    virtual QCoro::Task<> sleep(double seconds, CancellationToken token) = 0;
};

class SystemClock final : public Clock
{
public:
    Date now() const override;
    double monotonicSeconds() const override;
    QCoro::Task<> sleep(double seconds, CancellationToken token) override;
};
