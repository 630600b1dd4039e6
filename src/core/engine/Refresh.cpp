// The refresh cycle: load every enabled account at once, merge into the feed, persist.
#include "RevenueEngine.h"

#include "mrr/MrrTracker.h"

using namespace Qt::StringLiterals;

using LoadResult = Result<StripeLoad, QString>;

// What one cycle's loads report, in the order they finish. It lives in the cycle's frame, and
// the cycle awaits every load before it ends, so no load outlives it.
struct RevenueEngine::CycleLoads
{
    quint64 generation = 0;
    int total = 0;
    QList<std::pair<QUuid, LoadResult>> finished;
};

QCoro::Task<> RevenueEngine::loadForCycle(QPointer<RevenueEngine> engine, Account account, Date since,
                                          CancellationToken token, CycleLoads *loads)
{
    LoadResult result = StripeLoad{};
    if (engine && account.hasStripeRecords()) {
        result = co_await engine->loadFromStripe(account, since, token);
    } else if (engine) {
        result = co_await engine->loadFromPayPal(account, since, token);
    }
    loads->finished.append({account.id, std::move(result)});
    // A cancelled or superseded cycle publishes nothing more.
    if (!engine || token.isCancelled() || loads->generation != engine->m_cycleGeneration)
        co_return;
    const int done = static_cast<int>(loads->finished.size());
    engine->assign(engine->m_eventsRefreshDone, done, &RevenueEngine::eventsRefreshDoneChanged);
    engine->assign(engine->m_refreshProgress,
                   std::optional<QString>(u"Events · %1 of %2 · finished %3"_s.arg(QString::number(done),
                                                                                  QString::number(loads->total),
                                                                                  engine->accountName(account.id))),
                   &RevenueEngine::refreshProgressChanged);
}

QCoro::Task<> RevenueEngine::refreshCycle(CancellationToken token)
{
    // Until the keyring has answered, accounts have no keys: the first cycle runs when it has.
    if (m_isLoading || !m_credentials->isReady() || m_feedStore->isPending())
        co_return;
    retryFailedSaves();

    QList<Account> enabled;
    for (const Account &a : std::as_const(m_accounts))
        if (a.enabled)
            enabled.append(a);
    if (enabled.isEmpty()) {
        // With the accounts file damaged, the stored feed is the only record of the lost
        // accounts' history: keep it as it is.
        if (accountsDamaged())
            co_return;
        // Nothing to show: no events and no days, not 95 empty ones. Disabled accounts keep
        // their stored events, hidden, for when they are enabled again.
        m_feedStore->set(m_feedStore->stored());
        noteSave(SaveFailures::File::Feed, m_env.storage.saveFeed(m_feedStore->stored()));
        co_return;
    }

    const Date start = now();
    const quint64 generation = ++m_cycleGeneration;
    m_runningCycle = token;
    assign(m_isLoading, true, &RevenueEngine::isLoadingChanged);
    assign(m_refreshStartTime, std::optional<Date>(start), &RevenueEngine::refreshStartTimeChanged);
    assign(m_missingEventScopeAccounts, QSet<QUuid>(), &RevenueEngine::missingEventScopeAccountsChanged);
    // A sync state later than now was written while the wall clock ran ahead: it says nothing
    // about what was loaded, so those accounts load their whole window again.
    m_syncState.removeIf([start](const auto &synced) { return start < synced.value(); });
    const Date todayStart = m_env.calendar.startOfDay(start);
    const Date bootstrapStart = m_env.calendar.addingDays(todayStart, -bootstrapLookbackDays);

    const int total = static_cast<int>(enabled.size());
    assign(m_eventsRefreshTotal, total, &RevenueEngine::eventsRefreshTotalChanged);
    assign(m_eventsRefreshDone, 0, &RevenueEngine::eventsRefreshDoneChanged);
    assign(m_refreshProgress, std::optional<QString>(u"Fetching events · 0 of %1"_s.arg(total)),
           &RevenueEngine::refreshProgressChanged);

    // The loads are this frame's children: all start now, each publishes its progress as it
    // finishes, and the cycle goes on only once every one has ended.
    QPointer<RevenueEngine> self(this);
    CycleLoads loads{generation, total, {}};
    std::vector<QCoro::Task<>> running;
    running.reserve(enabled.size());
    for (const Account &account : std::as_const(enabled)) {
        Date since = bootstrapStart;
        if (auto synced = m_syncState.constFind(account.id); synced != m_syncState.cend())
            since = std::max(synced->addingSeconds(-incrementalOverlapSeconds), bootstrapStart);
        running.push_back(loadForCycle(self, account, since, token, &loads));
    }
    for (const QCoro::Task<> &load : running)
        co_await load;
    if (!self)
        co_return;
    if (token.isCancelled() || generation != m_cycleGeneration) {
        closeCycle(start, generation);
        co_return;
    }

    QList<PaymentEvent> newEvents;
    QSet<RevenueKind> loadedKinds;
    QHash<QUuid, Date> syncUpdates;
    QStringList errorLines;
    QSet<QString> superseded;
    QHash<QUuid, qsizetype> skipped;
    bool anySuccess = false;
    for (const auto &[id, result] : std::as_const(loads.finished)) {
        if (token.isCancelled()) {
            closeCycle(start, generation);
            co_return;
        }
        if (!result.ok()) {
            errorLines.append(
                u"[%1] %2"_s.arg(accountName(id), KeyringStatus::accountError(m_credentials->keyringState(), m_accounts, id, result.error())));
            continue;
        }
        newEvents.append(result.value().events);
        superseded.unite(result.value().supersededEventIds);
        loadedKinds.unite(result.value().loadedKinds);
        if (result.value().skippedRecords > 0)
            skipped.insert(id, result.value().skippedRecords);
        // An account removed while it loaded leaves no sync state behind (its events go in FeedStore::set).
        const QUuid accountId = id; // a structured binding cannot be captured by every compiler
        const bool known = std::any_of(m_accounts.cbegin(), m_accounts.cend(), [&](const Account &a) { return a.id == accountId; });
        if (known && !result.value().askAgainFromSameStart)
            syncUpdates.insert(id, now());
        anySuccess = true;
    }

    if (!anySuccess) {
        if (!token.isCancelled())
            assign(m_lastError,
                   std::optional<QString>(errorLines.isEmpty() ? u"Refresh failed (no accounts responded)"_s
                                                               : errorLines.join(u" · "_s)),
                   &RevenueEngine::lastErrorChanged);
        closeCycle(start, generation);
        co_return;
    }

    QSet<RevenueKind> unavailable(allRevenueKinds.begin(), allRevenueKinds.end());
    unavailable.subtract(loadedKinds);
    assign(m_unavailableKinds, unavailable, &RevenueEngine::unavailableKindsChanged);
    if (token.isCancelled()) {
        closeCycle(start, generation);
        co_return;
    }

    m_files->setSkippedRecords(skipped);
    m_feedStore->set(FeedStore::merge(m_feedStore->stored(), newEvents, retentionHorizon(), superseded));
    // The sync state moves on only with the feed on disk: events that were not saved are
    // asked for again by the next cycle.
    if (noteSave(SaveFailures::File::Feed, m_env.storage.saveFeed(m_feedStore->stored()))) {
        for (auto it = syncUpdates.cbegin(); it != syncUpdates.cend(); ++it)
            m_syncState.insert(it.key(), it.value());
        noteSave(SaveFailures::File::SyncState, m_env.storage.saveSyncState(m_syncState));
    }
    notifyForNewEvents(newEvents);
    updateAchievements();
    if (m_historicalFill->isDue())
        m_historicalFill->start();
    m_mrr->startRefresh(m_accounts, m_feedStore->shown());
    assign(m_lastRefreshed, std::optional<Date>(now()), &RevenueEngine::lastRefreshedChanged);
    assign(m_lastError, errorLines.isEmpty() ? std::optional<QString>() : std::optional<QString>(errorLines.join(u" · "_s)),
           &RevenueEngine::lastErrorChanged);
    closeCycle(start, generation);
}

void RevenueEngine::closeCycle(Date start, quint64 generation)
{
    if (generation != m_cycleGeneration)
        return; // a cancel already closed this cycle and a newer one may be running
    m_runningCycle.reset();
    assign(m_lastRefreshDuration, std::optional<double>(now().secondsSince(start)),
           &RevenueEngine::lastRefreshDurationChanged);
    assign(m_refreshProgress, std::optional<QString>(), &RevenueEngine::refreshProgressChanged);
    assign(m_refreshStartTime, std::optional<Date>(), &RevenueEngine::refreshStartTimeChanged);
    assign(m_isLoading, false, &RevenueEngine::isLoadingChanged);
}

Date RevenueEngine::retentionHorizon() const
{
    const QList<PaymentEvent> &feed = m_feedStore->stored();
    return FeedRetention::horizon(*m_env.clock, m_clockAtStart,
                                  feed.isEmpty() ? std::nullopt : std::optional(feed.first().date), feedRetentionDays,
                                  m_env.calendar);
}

void RevenueEngine::notifyForNewEvents(const QList<PaymentEvent> &events)
{
    const NotifierBookkeeping::Decision decision =
        m_notifications.handOff(events, m_preferences.showNotifications, now(), m_preferences.privacyMode);
    if (!m_env.notifier)
        return;
    if (decision.requestPermission)
        m_env.notifier->requestAuthorizationIfNeeded();
    if (decision.post)
        m_env.notifier->notify(decision.batch);
}
