#pragma once

#include "engine/EngineTypes.h"
#include "model/Account.h"
#include "model/AtRiskSub.h"
#include "stripe/ListingBackoff.h"
#include "util/Cancellation.h"
#include "util/Clock.h"
#include "util/Publish.h"
#include "util/TaskGroup.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <functional>

class StripeSources;

// At-risk subscriptions: the loop that lists every enabled Stripe account's failing
// subscriptions, the list it publishes, and the invoice retries started from it, spaced and
// with their outcomes kept per subscription.
class AtRiskSubscriptions : public QObject
{
    Q_OBJECT

public:
    static constexpr int refreshSeconds = 300;
    // An account whose listing keeps failing is asked at most this rarely.
    static constexpr int longestBackoffSeconds = 6 * 3600;
    static constexpr double retryMinInterval = 3.0;
    // A paid row stays in place this long before the listing drops it: the next click must not
    // land on the customer that moved up under the pointer.
    static constexpr double paidShownSeconds = 3.0;

    // What it reads from its neighbours, each time anew: the accounts, and whether their
    // credentials are in (until then the listings would have no keys).
    struct Neighbours
    {
        std::function<QList<Account>()> accounts;
        std::function<bool()> credentialsReady = [] { return true; };
    };

    // `sources` outlives this.
    AtRiskSubscriptions(Neighbours neighbours, const StripeSources &sources, std::shared_ptr<Clock> clock,
                        QObject *parent = nullptr);

    const QList<AtRiskSub> &subs() const { return m_subs; }
    const QSet<QString> &retryingInvoiceIds() const { return m_retryingInvoiceIds; }
    const QHash<QString, RetryOutcome> &retryResults() const { return m_retryResults; }
    int refreshDone() const { return m_refreshDone; }
    int refreshTotal() const { return m_refreshTotal; }
    bool isLoading() const { return m_isLoading; }
    // The listings that failed and when each is tried again, for the user.
    std::optional<QString> failureText() const { return m_backoff.text(); }
    // What the at-risk subscriptions bring in a month, in US dollars.
    double monthlyTotalUSD() const;

    // The loop lists now and every refreshSeconds after; startLoop() restarts it.
    void startLoop();
    bool isLooping() const { return m_loop.isRunning(); }
    // One run now, owned by the loop's group.
    void refreshNow();
    // One run: lists the failing subscriptions of every enabled Stripe account.
    QCoro::Task<> runRefresh(CancellationToken token = {});

    // Pays a subscription's latest invoice again; the outcome lands in retryResults. This
    // object owns the task: this is what views call.
    void startRetry(const AtRiskSub &sub);
    QCoro::Task<> retryInvoice(AtRiskSub sub, CancellationToken token = {});

    // Drops what a removed account, or a disabled one, still shows.
    void dropAccount(const QUuid &accountId);

    // The sentence a Stripe error body in a retry's error text carries, if any.
    static std::optional<QString> errorSentence(const QString &errorDescription);

Q_SIGNALS:
    void subsChanged();
    void retryingInvoiceIdsChanged();
    void retryResultsChanged();
    void refreshDoneChanged();
    void refreshTotalChanged();
    void isLoadingChanged();
    void failureTextChanged();

private:
    template<typename T, typename Signal>
    void assign(T &field, const T &value, Signal signal) { publish(this, field, value, signal); }

    struct AtRiskListings;
    static QCoro::Task<> listAtRisk(QPointer<AtRiskSubscriptions> self, Account account, QString status,
                                    CancellationToken token, AtRiskListings *listings);
    QCoro::Task<> refreshAtRiskSubs(QList<Account> accounts, CancellationToken token);
    static QCoro::Task<> clearThrottleAfter(QPointer<AtRiskSubscriptions> self, std::shared_ptr<Clock> clock,
                                            QString subscriptionId, int seconds, CancellationToken token);
    void setRetryResult(const QString &subscriptionId, const RetryOutcome &outcome);
    QCoro::Task<> atRiskLoop(CancellationToken token);

    Neighbours m_neighbours;
    const StripeSources &m_sources;
    std::shared_ptr<Clock> m_clock;
    QList<AtRiskSub> m_subs;
    QSet<QString> m_retryingInvoiceIds;
    QHash<QString, RetryOutcome> m_retryResults;
    int m_refreshDone = 0;
    int m_refreshTotal = 0;
    bool m_isLoading = false;
    std::optional<double> m_lastRetryAttemptAt; // monotonic seconds
    ListingBackoff m_backoff{refreshSeconds, longestBackoffSeconds};
    // Declared last so they go first: their tasks stop before the state they write back to.
    TaskGroup m_loop;       // the at-risk loop, and runs started outside it
    TaskGroup m_retryTasks; // invoice retries and the timers that lift a throttle
};
