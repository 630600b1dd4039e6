// Reading the stored feed at start, on a worker thread when the owner asks for it.
#include "RevenueEngine.h"

#include <QCoroSignal>
#include <QFutureWatcher>
#include <QPointer>
#include <QPromise>
#include <QSignalBlocker>
#include <QThreadPool>

namespace {

struct StoredFeed
{
    QList<PaymentEvent> events;
    QList<FileDamage> damaged;
};

// Touches nothing but the data folder: safe on any thread.
StoredFeed readStoredFeed(const Storage &storage)
{
    StoredFeed stored;
    stored.events = storage.loadFeed(&stored.damaged);
    // The feed is written newest first; only a file edited by hand needs sorting.
    const auto newestFirst = [](const PaymentEvent &a, const PaymentEvent &b) { return a.date > b.date; };
    if (!std::is_sorted(stored.events.cbegin(), stored.events.cend(), newestFirst))
        std::stable_sort(stored.events.begin(), stored.events.end(), newestFirst);
    return stored;
}

} // namespace

void RevenueEngine::loadStoredFeed()
{
    if (!m_env.readFeedInBackground) {
        StoredFeed stored = readStoredFeed(m_env.storage);
        takeDamage(stored.damaged);
        adoptStoredFeed(std::move(stored.events));
        return;
    }
    // Until the feed is in, the engine counts as loading: refreshes wait for it, and the
    // views show their loading state.
    m_isLoading = true;
    m_feedPending = true;
    m_backgroundTasks.start([this](CancellationToken token) { return readFeedInBackground(token); });
}

QCoro::Task<> RevenueEngine::readFeedInBackground(CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    if (!m_env.feedReadAfter.isFinished()) {
        QFutureWatcher<void> cue;
        cue.setFuture(m_env.feedReadAfter);
        co_await qCoro(&cue, &QFutureWatcherBase::finished);
        if (!self || token.isCancelled())
            co_return;
    }
    auto promise = std::make_shared<QPromise<StoredFeed>>();
    QFuture<StoredFeed> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, storage = m_env.storage] {
        promise->addResult(readStoredFeed(storage));
        promise->finish();
    });
    // Awaited through a watcher, whose signals always arrive through the event loop: a small
    // file can be read before this await, and the hand-over must still never happen inside
    // the constructor that started the read, before the owner has connected to anything.
    QFutureWatcher<StoredFeed> watcher;
    watcher.setFuture(future);
    co_await qCoro(&watcher, &QFutureWatcherBase::finished);
    StoredFeed stored = future.takeResult();
    if (!self || token.isCancelled())
        co_return;
    // Handed over in one step: one change of every field, then the loops start.
    if (!stored.damaged.isEmpty()) {
        self->takeDamage(stored.damaged);
        Q_EMIT self->damagedFilesChanged();
    }
    self->adoptStoredFeed(std::move(stored.events));
    self->m_isLoading = false;
    self->m_feedPending = false;
    Q_EMIT self->feedChanged();
    Q_EMIT self->dailyBucketsChanged();
    Q_EMIT self->lastRefreshedChanged();
    Q_EMIT self->isLoadingChanged();
    if (self->m_env.startLoops)
        self->startAutoRefresh();
}

void RevenueEngine::adoptStoredFeed(QList<PaymentEvent> stored)
{
    if (stored.isEmpty())
        return;
    m_feed = std::move(stored);
    {
        const QSignalBlocker quiet(this); // the owner announces the stored feed itself, once
        showFeed();
    }
    // Events already on disk never produce a notification.
    m_notifications.primeFromStoredFeed(m_feed);
    for (const Date &synced : std::as_const(m_syncState))
        if (!m_lastRefreshed || synced > *m_lastRefreshed)
            m_lastRefreshed = synced;

    // A stored feed covering less than 25 days was cut short (first run, long pause): load
    // every account's whole bootstrap window again.
    const Date horizon = m_env.calendar.addingDays(now(), -25);
    if (m_feed.last().date > horizon && !m_accounts.isEmpty()) {
        m_syncState.clear();
        noteSave(SaveFailures::File::SyncState, m_env.storage.saveSyncState(m_syncState));
    }
}
