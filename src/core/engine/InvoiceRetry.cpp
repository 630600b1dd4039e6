// Paying a failed invoice again by hand, spaced so customers are not flooded with e-mails
// and Stripe's card-testing detection stays quiet.
#include "InvoiceRetry.h"

#include <cmath>

using namespace Qt::StringLiterals;

QString RetryThrottleError::description() const
{
    return u"Wait %1s before next retry. (Spacing retries avoids flooding customers with emails + Stripe's "
           u"card-testing detection.)"_s.arg(secondsToWait);
}

std::optional<int> InvoiceRetry::throttleWait(std::optional<double> lastAttempt, double now, double minInterval)
{
    if (!lastAttempt)
        return std::nullopt;
    const double remaining = minInterval - (now - *lastAttempt);
    if (!(remaining > 0))
        return std::nullopt;
    return static_cast<int>(std::ceil(remaining));
}
