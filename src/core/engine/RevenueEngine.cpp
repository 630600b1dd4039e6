#include "RevenueEngine.h"

#include "engine/Credentials.h"
#include "icons/IconCache.h"
#include "model/CurrencyConverter.h"
#include "mrr/MrrTracker.h"

#include <QPointer>

using namespace Qt::StringLiterals;

RevenueEngine::RevenueEngine(EngineEnvironment environment, QObject *parent)
    : QObject(parent)
    , m_env(std::move(environment))
    , m_sources(m_env.endpoints.stripeApi, m_env.clock, m_env.stripeRequestsPerSecond, m_env.stripeMaxSlices)
{
    m_preferences = Preferences::defaults(now(), m_env.calendar);
    m_unavailableKinds = QSet<RevenueKind>(allRevenueKinds.begin(), allRevenueKinds.end());
    m_files = std::make_unique<AccountFiles>(m_env.storage);
    connect(m_files.get(), &AccountFiles::saveFailuresChanged, this, &RevenueEngine::lastErrorChanged);
    connect(m_files.get(), &AccountFiles::accountsMerged, this, &RevenueEngine::accountsChanged);
    connect(m_files.get(), &AccountFiles::skippedRecordsChanged, this, &RevenueEngine::skippedRecordsChanged);
    // No days before a stored feed or a load says there are any: a first launch whose loads
    // all fail shows nothing rather than 95 empty days.

    // Anything that can move the running figure recomputes it; the label signal fires only
    // when the text really changes.
    const auto relabel = [this] {
        const QString label = menubarLabel();
        if (label != m_menubarLabel) {
            m_menubarLabel = label;
            Q_EMIT menubarLabelChanged();
        }
    };
    m_feedStore = std::make_unique<FeedStore>(
        FeedStore::Neighbours{[this] { return m_accounts; }, [this] { return accountsDamaged(); },
                              [this] { return m_preferences; }, [this] { return m_selectedAccountFilter; },
                              [this](FeedStore::Stored stored) { takeStoredFeed(std::move(stored)); }},
        m_env.calendar, m_env.clock);
    connect(m_feedStore.get(), &FeedStore::feedChanged, this, &RevenueEngine::feedChanged);
    connect(m_feedStore.get(), &FeedStore::dailyBucketsChanged, this, &RevenueEngine::dailyBucketsChanged);
    connect(this, &RevenueEngine::dailyBucketsChanged, this, relabel);
    connect(this, &RevenueEngine::preferencesChanged, this, relabel);
    connect(this, &RevenueEngine::selectedAccountFilterChanged, this, relabel);
    connect(this, &RevenueEngine::feedChanged, this, relabel);

    m_credentials = std::make_unique<CredentialSync>(
        CredentialSync::Neighbours{
            [this] { return m_accounts; },
            [this](const QUuid &accountId, const QByteArray &entry) {
                auto it = std::find_if(m_accounts.begin(), m_accounts.end(),
                                       [&](const Account &a) { return a.id == accountId; });
                return it != m_accounts.end() && !Credentials::hasAny(*it) && Credentials::decodeInto(entry, *it);
            },
            [this](const QList<Account> &fileForm) { return m_files->writeAccounts(fileForm, m_accounts); }},
        m_env.secrets, m_env.storage);
    connect(m_credentials.get(), &CredentialSync::accountsFilled, this, &RevenueEngine::accountsChanged);
    connect(m_credentials.get(), &CredentialSync::readyChanged, this, &RevenueEngine::credentialsReadyChanged);
    connect(m_credentials.get(), &CredentialSync::noticeChanged, this, &RevenueEngine::lastErrorChanged);
    m_records = std::make_unique<Records>(
        Records::Neighbours{[this] { return m_accounts; }, [this] { return m_feedStore->shown(); },
                            [this](const Storage::Saved &saved) { noteSave(SaveFailures::File::Achievements, saved); }},
        m_env.storage, m_env.calendar, m_env.clock);
    connect(m_records.get(), &Records::changed, this, &RevenueEngine::achievementsChanged);
    m_atRisk = std::make_unique<AtRiskSubscriptions>(
        AtRiskSubscriptions::Neighbours{[this] { return m_accounts; }, [this] { return m_credentials->isReady(); }},
        m_sources, m_env.clock);
    connect(m_atRisk.get(), &AtRiskSubscriptions::subsChanged, this, &RevenueEngine::atRiskSubsChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::retryingInvoiceIdsChanged, this,
            &RevenueEngine::retryingInvoiceIdsChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::retryResultsChanged, this, &RevenueEngine::retryResultsChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::refreshDoneChanged, this, &RevenueEngine::atRiskRefreshDoneChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::refreshTotalChanged, this, &RevenueEngine::atRiskRefreshTotalChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::isLoadingChanged, this, &RevenueEngine::isLoadingAtRiskChanged);
    connect(m_atRisk.get(), &AtRiskSubscriptions::failureTextChanged, this, &RevenueEngine::lastErrorChanged);
    m_historicalFill = std::make_unique<HistoricalFill>(
        HistoricalFill::Neighbours{
            [this] { return m_accounts; },
            [this](const Account &account, const QString &listing, const StripeError &error) {
                reportListingFailure(account, listing, error);
            },
            [this](const QUuid &accountId) { markMissingEventScope(accountId); },
            [this](const QList<GapFill::HistoricalEvent> &historical) { adoptHistorical(historical); }},
        m_sources, m_env.calendar, m_env.clock);
    connect(m_historicalFill.get(), &HistoricalFill::isLoadingChanged, this, &RevenueEngine::isLoadingHistoricalGapChanged);
    m_iconCache = makeIconCache();
    m_mrr = std::make_unique<MrrTracker>(
        MrrEnvironment{m_env.storage, m_env.clock, m_env.calendar, [this](const Account &a) { return m_sources.sourceFor(a); }});
    connect(m_mrr.get(), &MrrTracker::stateChanged, this, relabel);
    connect(m_mrr.get(), &MrrTracker::goalReached, this, &RevenueEngine::announceMrrGoal);
    connect(this, &RevenueEngine::preferencesChanged, this, &RevenueEngine::applyMrrSettings);
    loadFromDisk();
    m_files->takeDamage(m_mrr->damagedFiles());
    applyMrrSettings();
    m_menubarLabel = menubarLabel();
    if (m_env.notifier)
        m_env.notifier->requestAuthorizationIfNeeded();
    if (m_env.secrets)
        loadCredentials();
    if (m_env.startLoops && !m_feedStore->isPending())
        startAutoRefresh(); // else once the feed is in
}

RevenueEngine::~RevenueEngine()
{
    // The task groups cancel their tasks as they go; a cycle run through refresh() has no
    // group, so it is woken here. Each one then ends on its own without touching the engine.
    if (m_runningCycle)
        m_runningCycle->cancel();
}

void RevenueEngine::loadFromDisk()
{
    const Storage &storage = m_env.storage;
    storage.fileURL(); // creates the data folder on first launch
    storage.tightenFolder();
    QList<FileDamage> damaged;
    m_accounts = m_files->loadAccounts(&damaged);
    if (auto preferences = storage.loadPreferences(&damaged))
        m_preferences = *preferences;
    m_syncState = storage.loadSyncState(&damaged);
    if (auto achievements = storage.loadAchievements(&damaged))
        m_records->restore(*achievements);
    m_files->takeDamage(damaged);

    loadStoredFeed();
}

void RevenueEngine::loadStoredFeed()
{
    if (!m_env.readFeedInBackground) {
        FeedStore::Stored stored = FeedStore::read(m_env.storage);
        m_files->takeDamage(stored.damaged);
        adoptStoredFeed(std::move(stored.events));
        return;
    }
    // Until the feed is in, the engine counts as loading: refreshes wait for it, and the
    // views show their loading state.
    m_isLoading = true;
    m_feedStore->readInBackground(m_env.storage, m_env.feedReadAfter);
}

void RevenueEngine::takeStoredFeed(FeedStore::Stored stored)
{
    // Handed over in one step: one change of every field, then the loops start.
    if (!stored.damaged.isEmpty()) {
        m_files->takeDamage(stored.damaged);
        Q_EMIT damagedFilesChanged();
    }
    adoptStoredFeed(std::move(stored.events));
    m_isLoading = false;
    Q_EMIT feedChanged();
    Q_EMIT dailyBucketsChanged();
    Q_EMIT lastRefreshedChanged();
    Q_EMIT isLoadingChanged();
    if (m_env.startLoops)
        startAutoRefresh();
}

void RevenueEngine::adoptStoredFeed(QList<PaymentEvent> stored)
{
    if (!m_feedStore->adoptStored(std::move(stored))) // the owner announces the stored feed itself, once
        return;
    const QList<PaymentEvent> &feed = m_feedStore->stored();
    // Events already on disk never produce a notification.
    m_notifications.primeFromStoredFeed(feed);
    for (const Date &synced : std::as_const(m_syncState))
        if (!m_lastRefreshed || synced > *m_lastRefreshed)
            m_lastRefreshed = synced;

    // A stored feed covering less than 25 days was cut short (first run, long pause): load
    // every account's whole bootstrap window again.
    const Date horizon = m_env.calendar.addingDays(now(), -25);
    if (feed.last().date > horizon && !m_accounts.isEmpty()) {
        m_syncState.clear();
        noteSave(SaveFailures::File::SyncState, m_env.storage.saveSyncState(m_syncState));
    }
}

std::optional<QString> RevenueEngine::lastError() const
{
    // Lines about one account start with "[name]" and come after the others.
    QStringList parts;
    for (const auto &part : {m_files->saveFailuresText(), m_credentials->notice(), m_atRisk->failureText(), m_lastError})
        if (part)
            parts.append(*part);
    return parts.isEmpty() ? std::nullopt : std::optional<QString>(parts.join(u" · "_s));
}

void RevenueEngine::retryFailedSaves()
{
    using File = SaveFailures::File;
    if (m_files->isPending(File::Accounts))
        saveAccounts();
    if (m_files->isPending(File::Preferences))
        m_files->savePreferences(m_preferences);
    if (m_files->isPending(File::Achievements))
        m_records->write();
    if (m_files->isPending(File::Feed))
        noteSave(File::Feed, m_env.storage.saveFeed(m_feedStore->stored()));
    if (m_files->isPending(File::SyncState))
        noteSave(File::SyncState, m_env.storage.saveSyncState(m_syncState));
}

QString RevenueEngine::menubarLabel() const
{
    if (m_preferences.privacyMode)
        return CurrencyConverter::mask(m_preferences.dashboardCurrency);
    // While the stored feed is still being read the totals are not known yet: "$0" would be
    // a wrong figure, not a pending one.
    if (m_feedStore->isPending())
        return u"…"_s;
    if (m_preferences.menubarShowsMrr)
        return m_mrr->label(m_preferences.dashboardCurrency);
    const Totals t = totals(m_preferences.selectedRange);
    return CurrencyConverter::formatCompact(t.newMRR + t.recurringMRR, m_preferences.dashboardCurrency);
}

void RevenueEngine::setPreferences(const Preferences &preferences)
{
    const bool changed = !(preferences == m_preferences);
    m_preferences = preferences;
    m_files->savePreferences(m_preferences);
    if (changed)
        Q_EMIT preferencesChanged();
}

void RevenueEngine::setSelectedAccountFilter(std::optional<QUuid> accountId)
{
    assign(m_selectedAccountFilter, accountId, &RevenueEngine::selectedAccountFilterChanged);
}

void RevenueEngine::saveAccounts()
{
    m_credentials->save();
}

void RevenueEngine::upsertAccount(const Account &account)
{
    auto it = std::find_if(m_accounts.begin(), m_accounts.end(), [&](const Account &a) { return a.id == account.id; });
    const bool added = it == m_accounts.end();
    const bool visibilityChanged = !added && it->enabled != account.enabled;
    if (!added)
        *it = account;
    else
        m_accounts.append(account);
    saveAccounts();
    Q_EMIT accountsChanged();
    if (visibilityChanged) {
        m_feedStore->show(); // the stored events are shown or hidden; nothing is loaded again
        updateAchievements();
        if (!account.enabled)
            m_atRisk->dropAccount(account.id);
        else if (m_atRisk->isLooping())
            m_atRisk->refreshNow();
    }
    // A new account's older history is fetched like everyone's at start.
    if (added && account.provider == AccountProvider::Stripe)
        m_historicalFill->markDue();
}

void RevenueEngine::removeAccount(const Account &account)
{
    const auto removed = m_accounts.removeIf([&](const Account &a) { return a.id == account.id; });
    if (removed > 0)
        m_credentials->forget(account);
    saveAccounts();
    if (removed > 0) {
        Q_EMIT accountsChanged();
        forgetAccount(account.id);
    }
}

// A removed account takes everything it brought with it at once: its events, days, at-risk
// rows, sync state and notes.
void RevenueEngine::forgetAccount(const QUuid &accountId)
{
    m_atRisk->dropAccount(accountId);
    m_feedStore->set(m_feedStore->stored());
    // A failed write leaves the events on disk; the next refresh writes the feed without them.
    noteSave(SaveFailures::File::Feed, m_env.storage.saveFeed(m_feedStore->stored()));
    if (m_syncState.remove(accountId))
        noteSave(SaveFailures::File::SyncState, m_env.storage.saveSyncState(m_syncState));
    m_files->dropAccount(accountId);
    QSet<QUuid> missingScope = m_missingEventScopeAccounts;
    missingScope.remove(accountId);
    assign(m_missingEventScopeAccounts, missingScope, &RevenueEngine::missingEventScopeAccountsChanged);
    if (m_selectedAccountFilter == accountId)
        setSelectedAccountFilter(std::nullopt);
}

void RevenueEngine::adoptHistorical(const QList<GapFill::HistoricalEvent> &historical)
{
    // Old revenue is never announced, also when a later refresh sees it again.
    for (const GapFill::HistoricalEvent &h : historical)
        m_notifications.markSeen(h.event.id);
    m_feedStore->set(GapFill::merge(m_feedStore->stored(), historical, retentionHorizon()));
    noteSave(SaveFailures::File::Feed, m_env.storage.saveFeed(m_feedStore->stored()));
    updateAchievements();
}

QCoro::Task<> RevenueEngine::loadCredentials()
{
    QPointer<RevenueEngine> self(this);
    co_await m_credentials->load();
    if (self && m_env.startLoops) {
        triggerRefresh();
        // The loop's first run found no keys: list the at-risk subscriptions now.
        m_atRisk->refreshNow();
    }
}

QString RevenueEngine::accountName(const QUuid &id) const
{
    for (const Account &a : m_accounts)
        if (a.id == id)
            return a.name;
    return u"?"_s;
}

std::optional<QString> RevenueEngine::stripeURL(const Account &account, const QString &path)
{
    if (account.isDemo())
        return std::nullopt; // its objects exist nowhere to link to
    QString tail;
    if (account.stripeAccountId && !account.stripeAccountId->isEmpty())
        tail = *account.stripeAccountId + u'/';
    tail += path;
    const QString text = u"https://dashboard.stripe.com/"_s + tail;
    // Stripe's ids are letters, digits and underscores: such a link is already in its
    // encoded form, and classifying a long listing makes one per event.
    const bool plain = std::all_of(tail.cbegin(), tail.cend(), [](QChar c) {
        return (c.isLetterOrNumber() && c.unicode() < 0x80) || c == u'_' || c == u'/' || c == u'.' || c == u'-';
    });
    if (plain)
        return text;
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;
    return url.toString(QUrl::FullyEncoded);
}

// --- Loops -------------------------------------------------------------------------------

void RevenueEngine::startAutoRefresh()
{
    m_refreshTask.cancel();
    m_refreshTask.start([this](CancellationToken token) { return autoRefreshLoop(token); });
    m_atRisk->startLoop();
}

QCoro::Task<> RevenueEngine::autoRefreshLoop(CancellationToken token)
{
    QPointer<RevenueEngine> self(this);
    const std::shared_ptr<Clock> clock = m_env.clock;
    while (!token.isCancelled()) {
        if (self)
            co_await self->refreshCycle(token);
        if (token.isCancelled())
            break;
        const qint64 interval = self ? self->m_preferences.refreshSeconds : 60;
        co_await clock->sleep(static_cast<double>(std::max<qint64>(interval, minimumRefreshSeconds)), token);
    }
}

void RevenueEngine::triggerRefresh()
{
    m_currentRefreshTask.cancel();
    m_currentRefreshTask.start([this](CancellationToken token) { return refreshCycle(token); });
}

void RevenueEngine::cancelCurrentRefresh()
{
    m_currentRefreshTask.cancel();
    m_refreshTask.cancel();
    if (m_runningCycle)
        m_runningCycle->cancel();
    ++m_cycleGeneration; // the cancelled cycle's closing step must not touch the next one
    // Progress first, so whoever reacts to isLoading sees a consistent idle state.
    assign(m_refreshProgress, std::optional<QString>(), &RevenueEngine::refreshProgressChanged);
    assign(m_refreshStartTime, std::optional<Date>(), &RevenueEngine::refreshStartTimeChanged);
    assign(m_isLoading, m_feedStore->isPending(), &RevenueEngine::isLoadingChanged);
    if (!m_feedStore->isPending())
        startAutoRefresh();
}

QCoro::Task<> RevenueEngine::refresh()
{
    co_await refreshCycle(CancellationToken());
}
