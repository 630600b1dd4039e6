// The at-risk run: every enabled Stripe account's failing subscriptions, listed per status
// at once, valued per month and sorted for the at-risk pane. Paying a failed invoice again by
// hand, spaced so customers are not flooded with e-mails and Stripe's card-testing detection
// stays quiet.
#include "AtRiskSubscriptions.h"

#include "engine/AtRiskRefresh.h"
#include "engine/InvoiceRetry.h"
#include "engine/StripeSources.h"
#include "stripe/StripeError.h"
#include "stripe/StripeSource.h"

using namespace Qt::StringLiterals;

AtRiskSubscriptions::AtRiskSubscriptions(Neighbours neighbours, const StripeSources &sources,
                                         std::shared_ptr<Clock> clock, QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_sources(sources)
    , m_clock(std::move(clock))
{
}

void AtRiskSubscriptions::startLoop()
{
    m_loop.cancel();
    m_loop.start([this](CancellationToken token) { return atRiskLoop(token); });
}

void AtRiskSubscriptions::refreshNow()
{
    m_loop.start([this](CancellationToken token) { return runRefresh(token); });
}

QCoro::Task<> AtRiskSubscriptions::atRiskLoop(CancellationToken token)
{
    QPointer<AtRiskSubscriptions> self(this);
    const std::shared_ptr<Clock> clock = m_clock;
    while (!token.isCancelled()) {
        if (self)
            co_await self->runRefresh(token);
        if (token.isCancelled())
            break;
        co_await clock->sleep(refreshSeconds, token);
    }
}

// What one run's listings report. It lives in the run's frame, and the run awaits every
// listing before it ends, so none outlives it.
struct AtRiskSubscriptions::AtRiskListings
{
    QList<AtRiskSub> collected;
    QHash<QString, QString> failed; // by account id: what a listing of it said
    int done = 0;
};

QCoro::Task<> AtRiskSubscriptions::runRefresh(CancellationToken token)
{
    QList<Account> accounts = AtRiskRefresh::accountsToScan(m_neighbours.accounts());
    const double monotonicNow = m_clock->monotonicSeconds();
    accounts.removeIf([&](const Account &a) { return !m_backoff.isDue(a.id.toString(), monotonicNow); });
    if (accounts.isEmpty() || m_isLoading || !m_neighbours.credentialsReady())
        co_return;
    QPointer<AtRiskSubscriptions> self(this);
    assign(m_isLoading, true, &AtRiskSubscriptions::isLoadingChanged);
    co_await refreshAtRiskSubs(accounts, token);
    if (self)
        assign(m_isLoading, false, &AtRiskSubscriptions::isLoadingChanged);
}

QCoro::Task<> AtRiskSubscriptions::listAtRisk(QPointer<AtRiskSubscriptions> self, Account account, QString status,
                                              CancellationToken token, AtRiskListings *listings)
{
    QList<AtRiskSub> found;
    if (self) {
        const std::shared_ptr<const StripeSource> source = self->m_sources.sourceFor(account);
        auto reply = co_await source->fetchSubscriptionsByStatus(status, token);
        // A failed listing adds nothing; it is reported, and its account waits before the next try.
        if (self && !reply.ok())
            listings->failed.insert(account.id.toString(),
                                    u"[%1] At-risk subscriptions not listed: %2"_s.arg(account.name, reply.error().description()));
        if (self && reply.ok()) {
            const Date now = self->m_clock->now();
            for (const ExpandedSubscription &sub : reply.value())
                if (auto record = AtRiskRefresh::atRisk(sub, account, status, now))
                    found.append(std::move(*record));
        }
    }
    listings->collected.append(std::move(found));
    ++listings->done;
    if (self && !token.isCancelled())
        self->assign(self->m_refreshDone, listings->done, &AtRiskSubscriptions::refreshDoneChanged);
}

QCoro::Task<> AtRiskSubscriptions::refreshAtRiskSubs(QList<Account> accounts, CancellationToken token)
{
    QPointer<AtRiskSubscriptions> self(this);
    assign(m_refreshTotal, int(accounts.size() * AtRiskRefresh::statuses.size()),
           &AtRiskSubscriptions::refreshTotalChanged);
    assign(m_refreshDone, 0, &AtRiskSubscriptions::refreshDoneChanged);
    AtRiskListings listings;
    std::vector<QCoro::Task<>> running;
    for (const Account &account : std::as_const(accounts))
        for (const QString &status : AtRiskRefresh::statuses)
            running.push_back(listAtRisk(self, account, status, token, &listings));
    for (const QCoro::Task<> &listing : running)
        co_await listing;
    if (!self || token.isCancelled())
        co_return;
    const std::optional<QString> reported = m_backoff.text();
    for (const Account &account : std::as_const(accounts)) {
        const QString id = account.id.toString();
        const auto failed = listings.failed.constFind(id);
        m_backoff.record(id, failed == listings.failed.cend() ? std::nullopt : std::optional(*failed),
                         m_clock->monotonicSeconds());
    }
    if (m_backoff.text() != reported)
        Q_EMIT failureTextChanged();
    // An account removed or disabled while it was listed shows nothing.
    const QList<Account> scanned = AtRiskRefresh::accountsToScan(m_neighbours.accounts());
    listings.collected.removeIf([&](const AtRiskSub &sub) {
        return std::none_of(scanned.cbegin(), scanned.cend(), [&](const Account &a) { return a.id == sub.accountId; });
    });
    AtRiskRefresh::sortForDisplay(listings.collected);
    QHash<QString, RetryOutcome> kept = AtRiskRefresh::keptRetryResults(m_retryResults, m_subs, listings.collected);
    assign(m_subs, listings.collected, &AtRiskSubscriptions::subsChanged);
    assign(m_retryResults, std::move(kept), &AtRiskSubscriptions::retryResultsChanged);
}

double AtRiskSubscriptions::monthlyTotalUSD() const
{
    return AtRiskRefresh::monthlyTotalUSD(m_subs);
}

void AtRiskSubscriptions::startRetry(const AtRiskSub &sub)
{
    m_retryTasks.start([this, sub](CancellationToken token) { return retryInvoice(sub, token); });
}

QCoro::Task<> AtRiskSubscriptions::retryInvoice(AtRiskSub sub, CancellationToken token)
{
    const QList<Account> accounts = m_neighbours.accounts();
    const auto account = std::find_if(accounts.cbegin(), accounts.cend(),
                                      [&](const Account &a) { return a.id == sub.accountId; });
    if (!sub.latestInvoiceId || account == accounts.cend()) {
        setRetryResult(sub.id, RetryOutcome{false, StripeError::missingKey().description(), false});
        co_return;
    }
    if (const std::optional<int> wait = InvoiceRetry::throttleWait(m_lastRetryAttemptAt, m_clock->monotonicSeconds(),
                                                                         retryMinInterval)) {
        setRetryResult(sub.id, RetryOutcome{false, RetryThrottleError{*wait}.description(), true, *wait});
        // The refusal clears itself once the wait is over, whatever the entry holds by then.
        m_retryTasks.start([this, id = sub.id, wait = *wait](CancellationToken timerToken) {
            return clearThrottleAfter(QPointer<AtRiskSubscriptions>(this), m_clock, id, wait, timerToken);
        });
        co_return;
    }

    const QString invoiceId = *sub.latestInvoiceId;
    m_lastRetryAttemptAt = m_clock->monotonicSeconds();
    m_retryingInvoiceIds.insert(invoiceId);
    Q_EMIT retryingInvoiceIdsChanged();
    QPointer<AtRiskSubscriptions> self(this);
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
    const std::shared_ptr<Clock> clock = m_clock; // outlives this object while asleep
    co_await clock->sleep(paidShownSeconds, token);
    if (!self || token.isCancelled())
        co_return;
    co_await refreshAtRiskSubs(AtRiskRefresh::accountsToScan(m_neighbours.accounts()), token);
}

QCoro::Task<> AtRiskSubscriptions::clearThrottleAfter(QPointer<AtRiskSubscriptions> self, std::shared_ptr<Clock> clock,
                                                      QString subscriptionId, int seconds, CancellationToken token)
{
    co_await clock->sleep(seconds, token);
    if (self && !token.isCancelled() && self->m_retryResults.remove(subscriptionId))
        Q_EMIT self->retryResultsChanged();
}

void AtRiskSubscriptions::setRetryResult(const QString &subscriptionId, const RetryOutcome &outcome)
{
    m_retryResults.insert(subscriptionId, outcome);
    Q_EMIT retryResultsChanged();
}

void AtRiskSubscriptions::dropAccount(const QUuid &accountId)
{
    QList<AtRiskSub> kept = m_subs;
    kept.removeIf([&](const AtRiskSub &sub) { return sub.accountId == accountId; });
    assign(m_subs, kept, &AtRiskSubscriptions::subsChanged);
    // Results are kept by subscription only: those of rows no longer listed go too, the
    // account's own among them.
    QSet<QString> listed;
    for (const AtRiskSub &sub : std::as_const(kept))
        listed.insert(sub.id);
    if (m_retryResults.removeIf([&](auto it) { return !listed.contains(it.key()); }) > 0)
        Q_EMIT retryResultsChanged();
    // A failed listing of an account no longer listed has nothing left to report or wait for.
    if (m_backoff.forget(accountId.toString()))
        Q_EMIT failureTextChanged();
}

std::optional<QString> AtRiskSubscriptions::errorSentence(const QString &errorDescription)
{
    const qsizetype brace = errorDescription.indexOf(u'{');
    if (brace < 0)
        return std::nullopt;
    return StripeClient::parseHumanError(errorDescription.mid(brace).toUtf8());
}
