// Paying a failed invoice again by hand, spaced so customers are not flooded with e-mails
// and Stripe's card-testing detection stays quiet.
#include "InvoiceRetry.h"

#include "AtRiskRefresh.h"
#include "RevenueEngine.h"
#include "stripe/StripeError.h"
#include "stripe/StripeSource.h"

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

void RevenueEngine::startRetry(const AtRiskSub &sub)
{
    m_retryTasks.start([this, sub](CancellationToken token) { return retryAtRiskInvoice(sub, token); });
}

QCoro::Task<> RevenueEngine::retryAtRiskInvoice(AtRiskSub sub, CancellationToken token)
{
    const auto account = std::find_if(m_accounts.cbegin(), m_accounts.cend(),
                                      [&](const Account &a) { return a.id == sub.accountId; });
    if (!sub.latestInvoiceId || account == m_accounts.cend()) {
        setRetryResult(sub.id, RetryOutcome{false, StripeError::missingKey().description(), false});
        co_return;
    }
    if (const std::optional<int> wait = InvoiceRetry::throttleWait(m_lastRetryAttemptAt, m_env.clock->monotonicSeconds(),
                                                                         retryMinInterval)) {
        setRetryResult(sub.id, RetryOutcome{false, RetryThrottleError{*wait}.description(), true, *wait});
        // The refusal clears itself once the wait is over, whatever the entry holds by then.
        m_retryTasks.start([this, id = sub.id, wait = *wait](CancellationToken timerToken) {
            return clearThrottleAfter(QPointer<RevenueEngine>(this), m_env.clock, id, wait, timerToken);
        });
        co_return;
    }

    const QString invoiceId = *sub.latestInvoiceId;
    m_lastRetryAttemptAt = m_env.clock->monotonicSeconds();
    m_retryingInvoiceIds.insert(invoiceId);
    Q_EMIT retryingInvoiceIdsChanged();
    QPointer<RevenueEngine> self(this);
    const std::shared_ptr<const StripeSource> source = m_sources.sourceFor(*account);
    const auto paid = co_await source->retryInvoice(invoiceId, token);
    if (!self)
        co_return;
    if (m_retryingInvoiceIds.remove(invoiceId))
        Q_EMIT retryingInvoiceIdsChanged();
    if (!paid.ok()) {
        setRetryResult(sub.id, RetryOutcome{false, paid.error().description(), false});
        co_return;
    }
    setRetryResult(sub.id, RetryOutcome{true, QString(), false});
    const std::shared_ptr<Clock> clock = m_env.clock; // outlives the engine while asleep
    co_await clock->sleep(paidShownSeconds, token);
    if (!self || token.isCancelled())
        co_return;
    co_await refreshAtRiskSubs(AtRiskRefresh::accountsToScan(m_accounts), token);
}

QCoro::Task<> RevenueEngine::clearThrottleAfter(QPointer<RevenueEngine> engine, std::shared_ptr<Clock> clock,
                                                QString subscriptionId, int seconds, CancellationToken token)
{
    co_await clock->sleep(seconds, token);
    if (engine && !token.isCancelled() && engine->m_retryResults.remove(subscriptionId))
        Q_EMIT engine->retryResultsChanged();
}

void RevenueEngine::setRetryResult(const QString &subscriptionId, const RetryOutcome &outcome)
{
    m_retryResults.insert(subscriptionId, outcome);
    Q_EMIT retryResultsChanged();
}
