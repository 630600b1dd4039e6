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
    // Completes after `seconds`, or as soon as `token` is cancelled.
    virtual QCoro::Task<> sleep(double seconds, CancellationToken token) = 0;
};

class SystemClock final : public Clock
{
public:
    Date now() const override;
    QCoro::Task<> sleep(double seconds, CancellationToken token) override;
};
