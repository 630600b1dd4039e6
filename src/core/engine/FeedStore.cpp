// The stored and the shown feed: reading it at start, on a worker thread when the owner asks
// for it, replacing and merging it, and hiding disabled accounts' events.
#include "FeedStore.h"

#include "storage/AccountsMerge.h"

#include <QCoroSignal>
#include <QFutureWatcher>
#include <QPointer>
#include <QPromise>
#include <QSignalBlocker>
#include <QThreadPool>

namespace {

QSet<QUuid> enabledIdsOf(const QList<Account> &accounts)
{
    QSet<QUuid> ids;
    for (const Account &a : accounts)
        if (a.enabled)
            ids.insert(a.id);
    return ids;
}

} // namespace

FeedStore::FeedStore(Neighbours neighbours, TimeContext calendar, std::shared_ptr<Clock> clock, QObject *parent)
    : QObject(parent)
    , m_neighbours(std::move(neighbours))
    , m_calendar(std::move(calendar))
    , m_clock(std::move(clock))
{
}

FeedStore::Stored FeedStore::read(const Storage &storage)
{
    Stored stored;
    stored.events = storage.loadFeed(&stored.damaged);
    // The feed is written newest first; only a file edited by hand needs sorting.
    const auto newestFirst = [](const PaymentEvent &a, const PaymentEvent &b) { return a.date > b.date; };
    if (!std::is_sorted(stored.events.cbegin(), stored.events.cend(), newestFirst))
        std::stable_sort(stored.events.begin(), stored.events.end(), newestFirst);
    return stored;
}

void FeedStore::readInBackground(Storage storage, QFuture<void> after)
{
    m_pending = true;
    m_tasks.start([this, storage = std::move(storage), after = std::move(after)](CancellationToken token) mutable {
        return readInBackground(std::move(storage), std::move(after), token);
    });
}

QCoro::Task<> FeedStore::readInBackground(Storage storage, QFuture<void> after, CancellationToken token)
{
    QPointer<FeedStore> self(this);
    if (!after.isFinished()) {
        QFutureWatcher<void> cue;
        cue.setFuture(after);
        co_await qCoro(&cue, &QFutureWatcherBase::finished);
        if (!self || token.isCancelled())
            co_return;
    }
    auto promise = std::make_shared<QPromise<Stored>>();
    QFuture<Stored> future = promise->future();
    promise->start();
    QThreadPool::globalInstance()->start([promise, storage] {
        promise->addResult(read(storage));
        promise->finish();
    });
    // Awaited through a watcher, whose signals always arrive through the event loop: a small
    // file can be read before this await, and the hand-over must still never happen inside
    // the constructor that started the read, before the owner has connected to anything.
    QFutureWatcher<Stored> watcher;
    watcher.setFuture(future);
    co_await qCoro(&watcher, &QFutureWatcherBase::finished);
    Stored stored = future.takeResult();
    if (!self || token.isCancelled())
        co_return;
    self->m_pending = false;
    self->m_neighbours.storedFeedRead(std::move(stored));
}

bool FeedStore::adoptStored(QList<PaymentEvent> events)
{
    if (events.isEmpty())
        return false;
    m_feed = std::move(events);
    const QSignalBlocker quiet(this);
    show();
    return true;
}

void FeedStore::set(QList<PaymentEvent> feed)
{
    // A load or a fill that ends after its account was removed brings events nobody owns.
    // With the accounts file damaged, the feed is the only record of the lost accounts.
    if (!m_neighbours.accountsDamaged()) {
        const QSet<QUuid> known = AccountsMerge::idsOf(m_neighbours.accounts());
        feed.removeIf([&](const PaymentEvent &e) { return !known.contains(e.accountId); });
    }
    m_feed = std::move(feed);
    show();
}

void FeedStore::show()
{
    const QList<Account> accounts = m_neighbours.accounts();
    const QSet<QUuid> enabled = enabledIdsOf(accounts);
    const QSet<QUuid> known = AccountsMerge::idsOf(accounts);
    const bool hidesAny = std::any_of(m_feed.cbegin(), m_feed.cend(), [&](const PaymentEvent &e) {
        return known.contains(e.accountId) && !enabled.contains(e.accountId);
    });
    if (!hidesAny) {
        m_shownFeed = m_feed; // shared, not copied
    } else {
        m_shownFeed.clear();
        for (const PaymentEvent &e : std::as_const(m_feed))
            if (!known.contains(e.accountId) || enabled.contains(e.accountId))
                m_shownFeed.append(e);
    }
    if (enabled.isEmpty() && m_shownFeed.isEmpty() && !m_neighbours.accountsDamaged()) {
        if (!m_dailyBuckets.isEmpty()) { // not 95 empty days
            m_dailyBuckets.clear();
            Q_EMIT dailyBucketsChanged();
        }
    } else {
        rebuildBuckets();
    }
    Q_EMIT feedChanged();
}

QList<PaymentEvent> FeedStore::merge(const QList<PaymentEvent> &feed, const QList<PaymentEvent> &newEvents, Date horizon,
                                     const QSet<QString> &superseded)
{
    QHash<QString, qsizetype> indexById;
    indexById.reserve(feed.size() + newEvents.size());
    QList<PaymentEvent> merged;
    merged.reserve(feed.size() + newEvents.size());
    const auto put = [&](const PaymentEvent &event) {
        auto it = indexById.find(event.id);
        if (it != indexById.end()) {
            merged[*it] = event; // a newly loaded event replaces the stored one
        } else {
            indexById.insert(event.id, merged.size());
            merged.append(event);
        }
    };
    for (const PaymentEvent &e : feed)
        put(e);
    for (const PaymentEvent &e : newEvents)
        put(e);
    merged.removeIf([&](const PaymentEvent &e) { return e.date < horizon || superseded.contains(e.id); });
    std::stable_sort(merged.begin(), merged.end(), [](const PaymentEvent &a, const PaymentEvent &b) { return a.date > b.date; });
    return merged;
}
