#pragma once

#include "util/Date.h"

#include <QString>
#include <optional>

// A retry asked for before the minimum spacing since the previous one has passed.
struct RetryThrottleError
{
    int secondsToWait = 0;
    QString description() const;
};

namespace InvoiceRetry {

// The whole seconds still to wait before a retry may start, rounded up; none when it may
// start now. One spacing for all subscriptions: `lastAttempt` is the last retry of any. Both
// times are monotonic seconds (Clock::monotonicSeconds).
std::optional<int> throttleWait(std::optional<double> lastAttempt, double now, double minInterval);

} // namespace InvoiceRetry
