#pragma once

#include "engine/AccountFiles.h"
#include "engine/AtRiskSubscriptions.h"
#include "engine/CredentialSync.h"
#include "engine/EngineTypes.h"
#include "engine/FeedStore.h"
#include "engine/FeedRetention.h"
#include "engine/HistoricalFill.h"
#include "engine/Notifier.h"
#include "engine/Records.h"
#include "engine/NotifierBookkeeping.h"
#include "engine/StripeSources.h"
#include "model/Account.h"
#include "model/Achievement.h"
#include "model/AtRiskSub.h"
#include "model/DailyBucket.h"
#include "model/PaymentEvent.h"
#include "model/Preferences.h"
#include "storage/PendingKeyRemovals.h"
#include "storage/SecretStore.h"
#include "storage/Storage.h"
#include "stripe/ListingBackoff.h"
#include "stripe/ListingSlices.h"
#include "stripe/StripeSubscriptions.h"
#include "util/Cancellation.h"
#include "util/Clock.h"
#include "util/Result.h"
#include "util/Publish.h"
#include "util/TaskGroup.h"
#include "util/TimeContext.h"

#include <QCoroTask>
#include <QFuture>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <memory>

class IconCache;
class MrrTracker;
class StripeSource;
struct RawCharge;
struct SubscriptionCancellation;
class StripeError;

// Everything the engine needs from the outside world. Tests pass a temporary data folder,
// a virtual clock, a fixed time zone and loopback provider endpoints.
struct EngineEnvironment
{
    Storage storage = Storage(Storage::defaultFolder());
    std::shared_ptr<Clock> clock = std::make_shared<SystemClock>();
    TimeContext calendar;
    ProviderEndpoints endpoints;
    bool startLoops = true; // false: the owner calls startAutoRefresh() itself
    // The desktop keyring for credentials; none: they stay in the private accounts file.
    std::shared_ptr<SecretStore> secrets;
    // Stripe requests per second and account; none: by the key's mode (RequestBudget).
    std::optional<int> stripeRequestsPerSecond;
    // Whether the stored feed is read on a worker thread, so the constructor returns before
    // it is in; the engine is loading until then and its loops start afterwards.
    bool readFeedInBackground = false;
    // A background read starts once this is finished or cancelled (a default future is), so
    // the owner can keep the cores for its window's first frame.
    QFuture<void> feedReadAfter;
    // Slices a long Stripe event listing is paged in side by side (1: page after page).
    int stripeMaxSlices = ListingSlices::maxSlices;
    // Where notifications of new events go; none: they go nowhere.
    std::shared_ptr<Notifier> notifier;
};

// The one long-lived object: owns accounts, preferences, the feed and everything derived
// from it, runs the refresh cycle and the background loops. Lives on the main thread.
class RevenueEngine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<Account> accounts READ accounts NOTIFY accountsChanged)
    Q_PROPERTY(Preferences preferences READ preferences WRITE setPreferences NOTIFY preferencesChanged)
    Q_PROPERTY(QList<DailyBucket> dailyBuckets READ dailyBuckets NOTIFY dailyBucketsChanged)
    Q_PROPERTY(QList<PaymentEvent> feed READ feed NOTIFY feedChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(std::optional<QString> lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(std::optional<Date> lastRefreshed READ lastRefreshed NOTIFY lastRefreshedChanged)
    Q_PROPERTY(QSet<QUuid> missingEventScopeAccounts READ missingEventScopeAccounts NOTIFY missingEventScopeAccountsChanged)
    Q_PROPERTY(std::optional<QUuid> selectedAccountFilter READ selectedAccountFilter WRITE setSelectedAccountFilter NOTIFY selectedAccountFilterChanged)
    Q_PROPERTY(QList<AtRiskSub> atRiskSubs READ atRiskSubs NOTIFY atRiskSubsChanged)
    Q_PROPERTY(AchievementsState achievements READ achievements NOTIFY achievementsChanged)
    Q_PROPERTY(QSet<QString> retryingInvoiceIds READ retryingInvoiceIds NOTIFY retryingInvoiceIdsChanged)
    Q_PROPERTY(QHash<QString, RetryOutcome> retryResults READ retryResults NOTIFY retryResultsChanged)
    Q_PROPERTY(std::optional<double> lastRefreshDuration READ lastRefreshDuration NOTIFY lastRefreshDurationChanged)
    Q_PROPERTY(std::optional<QString> refreshProgress READ refreshProgress NOTIFY refreshProgressChanged)
    Q_PROPERTY(std::optional<Date> refreshStartTime READ refreshStartTime NOTIFY refreshStartTimeChanged)
    Q_PROPERTY(int eventsRefreshDone READ eventsRefreshDone NOTIFY eventsRefreshDoneChanged)
    Q_PROPERTY(int eventsRefreshTotal READ eventsRefreshTotal NOTIFY eventsRefreshTotalChanged)
    Q_PROPERTY(QSet<RevenueKind> unavailableKinds READ unavailableKinds NOTIFY unavailableKindsChanged)
    Q_PROPERTY(int atRiskRefreshDone READ atRiskRefreshDone NOTIFY atRiskRefreshDoneChanged)
    Q_PROPERTY(int atRiskRefreshTotal READ atRiskRefreshTotal NOTIFY atRiskRefreshTotalChanged)
    Q_PROPERTY(bool isLoadingAtRisk READ isLoadingAtRisk NOTIFY isLoadingAtRiskChanged)
    Q_PROPERTY(double atRiskMonthlyTotalUSD READ atRiskMonthlyTotalUSD NOTIFY atRiskSubsChanged)
    Q_PROPERTY(bool isLoadingHistoricalGap READ isLoadingHistoricalGap NOTIFY isLoadingHistoricalGapChanged)
    Q_PROPERTY(QString menubarLabel READ menubarLabel NOTIFY menubarLabelChanged)
    Q_PROPERTY(QList<FileDamage> damagedFiles READ damagedFiles NOTIFY damagedFilesChanged)
    Q_PROPERTY(QHash<QUuid, qsizetype> skippedRecords READ skippedRecords NOTIFY skippedRecordsChanged)

public:
    static constexpr int bootstrapLookbackDays = 30;
    static constexpr double incrementalOverlapSeconds = 300.0;
    static constexpr int feedRetentionDays = FeedStore::retentionDays;
    static constexpr int historicalDeepLookbackDays = HistoricalFill::deepLookbackDays;
    static constexpr int atRiskRefreshSeconds = AtRiskSubscriptions::refreshSeconds;
    static constexpr double retryMinInterval = AtRiskSubscriptions::retryMinInterval;
    static constexpr double paidShownSeconds = AtRiskSubscriptions::paidShownSeconds;
    static constexpr int atRiskLongestBackoffSeconds = AtRiskSubscriptions::longestBackoffSeconds;
    static constexpr int minimumRefreshSeconds = 15;

    explicit RevenueEngine(EngineEnvironment environment = {}, QObject *parent = nullptr);
    ~RevenueEngine() override;

    // Published state.
    const QList<Account> &accounts() const { return m_accounts; }
    const Preferences &preferences() const { return m_preferences; }
    const QList<DailyBucket> &dailyBuckets() const { return m_feedStore->dailyBuckets(); }
    // The events of the enabled accounts, newest first: what every total, list and label shows.
    // A disabled account's events stay stored, hidden, until it is enabled again.
    const QList<PaymentEvent> &feed() const { return m_feedStore->shown(); }
    bool isLoading() const { return m_isLoading; }
    // The saves that failed (retried on every refresh), then the last refresh's errors.
    std::optional<QString> lastError() const;
    std::optional<Date> lastRefreshed() const { return m_lastRefreshed; }
    const QSet<QUuid> &missingEventScopeAccounts() const { return m_missingEventScopeAccounts; }
    std::optional<QUuid> selectedAccountFilter() const { return m_selectedAccountFilter; }
    const QList<AtRiskSub> &atRiskSubs() const { return m_atRisk->subs(); }
    const AchievementsState &achievements() const { return m_records->state(); }
    const QSet<QString> &retryingInvoiceIds() const { return m_atRisk->retryingInvoiceIds(); }
    const QHash<QString, RetryOutcome> &retryResults() const { return m_atRisk->retryResults(); }
    std::optional<double> lastRefreshDuration() const { return m_lastRefreshDuration; }
    const std::optional<QString> &refreshProgress() const { return m_refreshProgress; }
    std::optional<Date> refreshStartTime() const { return m_refreshStartTime; }
    int eventsRefreshDone() const { return m_eventsRefreshDone; }
    int eventsRefreshTotal() const { return m_eventsRefreshTotal; }
    const QSet<RevenueKind> &unavailableKinds() const { return m_unavailableKinds; }
    int atRiskRefreshDone() const { return m_atRisk->refreshDone(); }
    int atRiskRefreshTotal() const { return m_atRisk->refreshTotal(); }
    bool isLoadingAtRisk() const { return m_atRisk->isLoading(); }
    double atRiskMonthlyTotalUSD() const { return m_atRisk->monthlyTotalUSD(); }
    AtRiskSubscriptions &atRisk() const { return *m_atRisk; }
    bool isLoadingHistoricalGap() const { return m_historicalFill->isLoading(); }
    // Data files that did not read completely at start, and where their copies were kept.
    const QList<FileDamage> &damagedFiles() const { return m_files->damagedFiles(); }
    // Per account, the records its last successful load left out because they did not decode.
    const QHash<QUuid, qsizetype> &skippedRecords() const { return m_files->skippedRecords(); }
    // True when the accounts file did not read completely: the feed then holds events of
    // accounts the engine does not know, and must not be cleared for want of accounts.
    bool accountsDamaged() const { return m_files->accountsDamaged(); }
    // False while the credentials are still being read from the keyring; refreshes wait.
    bool credentialsReady() const { return m_credentials->isReady(); }
    // Whether credentials go to the keyring (false: the accounts file keeps them).
    bool usesKeyring() const { return m_credentials->usesKeyring(); }

    // Monthly recurring revenue, its history, movements and goal.
    MrrTracker *mrr() const { return m_mrr.get(); }

    // The running figure for the menu bar: new plus recurring of the selected range, or MRR
    // when the preferences say so.
    QString menubarLabel() const;

    // Views write these directly; preferences are saved whole to "preferences.json".
    void setPreferences(const Preferences &preferences);
    void setSelectedAccountFilter(std::optional<QUuid> accountId);

    // Accounts. Removing one drops at once everything it brought: its events, days, at-risk
    // rows, retry results and sync state. Disabling one hides the same until it is enabled.
    void upsertAccount(const Account &account);
    void removeAccount(const Account &account);
    // Adds the built-in demo business unless an account of it exists, and refreshes.
    void addDemoAccount();
    void removeDemoAccounts();
    // Whether an account of the user's own (not the demo business) is connected.
    bool hasOwnAccounts() const;
    // Whether the demo business is enabled, so its made-up money is in the figures.
    bool showsDemo() const;

    // Refresh control.
    void startAutoRefresh();
    void triggerRefresh();
    void cancelCurrentRefresh();
    QCoro::Task<> refresh();

    // Loading one account (the refresh cycle runs these for every enabled account).
    QCoro::Task<Result<StripeLoad, QString>> loadFromStripe(Account account, Date since, CancellationToken token = {});
    QCoro::Task<Result<StripeLoad, QString>> loadFromPayPal(Account account, Date since,
                                                                      CancellationToken token = {});

    // At-risk subscriptions (AtRiskSubscriptions owns them, their loop and their retries).
    void startRetry(const AtRiskSub &sub) { m_atRisk->startRetry(sub); }
    QCoro::Task<> retryAtRiskInvoice(AtRiskSub sub, CancellationToken token = {})
    {
        return m_atRisk->retryInvoice(std::move(sub), std::move(token));
    }
    QCoro::Task<> runAtRiskRefresh(CancellationToken token = {}) { return m_atRisk->runRefresh(std::move(token)); }

    // Ranges, totals and buckets in the user's calendar (FeedStore owns the feed and its days).
    Date startDate(TimeRange range) const { return m_feedStore->startDate(range); }
    Date endDate(TimeRange range) const { return m_feedStore->endDate(range); }
    Totals totals(TimeRange range) const { return m_feedStore->totals(range); }
    QList<DailyBucket> buckets(TimeRange range) const { return m_feedStore->buckets(range); }
    QList<PaymentEvent> filteredFeed() const { return m_feedStore->filteredFeed(); }
    // Positions in feed() of the filtered feed: what list views use, since copying tens of
    // thousands of events on every filter change is what would make the panel stutter.
    QList<qsizetype> filteredFeedIndices() const { return m_feedStore->filteredFeedIndices(); }
    double revenueIn(Date start, Date end) const { return m_feedStore->revenueIn(start, end); }
    double todayRevenueUSD() const { return m_feedStore->todayRevenueUSD(); }
    double thisWeekRevenueUSD() const { return m_feedStore->thisWeekRevenueUSD(); }
    double thisMonthRevenueUSD() const { return m_feedStore->thisMonthRevenueUSD(); }
    void rebuildBucketsFromFeed() { m_feedStore->rebuildBuckets(); }

    // Best records and milestones (Records owns them).
    void updateAchievements() { m_records->update(); }
    void saveAchievements(const AchievementsState &state) { m_records->save(state); }

    // The environment, for views that need "now", the calendar or the data folder.
    Date now() const { return m_env.clock->now(); }
    const TimeContext &calendar() const { return m_env.calendar; }
    const Storage &storage() const { return m_env.storage; }
    const ProviderEndpoints &endpoints() const { return m_env.endpoints; }

    // The dashboard link of a Stripe object, under the account's own id when known.
    static std::optional<QString> stripeURL(const Account &account, const QString &path);

Q_SIGNALS:
    void accountsChanged();
    void preferencesChanged();
    void dailyBucketsChanged();
    void feedChanged();
    void isLoadingChanged();
    void lastErrorChanged();
    void lastRefreshedChanged();
    void missingEventScopeAccountsChanged();
    void selectedAccountFilterChanged();
    void atRiskSubsChanged();
    void achievementsChanged();
    void retryingInvoiceIdsChanged();
    void retryResultsChanged();
    void lastRefreshDurationChanged();
    void refreshProgressChanged();
    void refreshStartTimeChanged();
    void eventsRefreshDoneChanged();
    void eventsRefreshTotalChanged();
    void unavailableKindsChanged();
    void atRiskRefreshDoneChanged();
    void atRiskRefreshTotalChanged();
    void isLoadingAtRiskChanged();
    void isLoadingHistoricalGapChanged();
    void menubarLabelChanged();
    void damagedFilesChanged();
    void skippedRecordsChanged();
    void credentialsReadyChanged();

private:
    template<typename T, typename Signal>
    void assign(T &field, const T &value, Signal signal) { publish(this, field, value, signal); }

    void loadFromDisk();
    void loadStoredFeed();
    // Takes the stored feed a background read brought, announces it and starts the loops.
    void takeStoredFeed(FeedStore::Stored stored);
    void adoptStoredFeed(QList<PaymentEvent> stored);
    void saveAccounts();
    // Records a save's outcome for the user and the retry; true when it was saved.
    bool noteSave(SaveFailures::File file, const Storage::Saved &saved) { return m_files->noteSave(file, saved); }
    void retryFailedSaves();
    QCoro::Task<> loadCredentials();
    void forgetAccount(const QUuid &accountId);
    struct CycleLoads;
    static QCoro::Task<> loadForCycle(QPointer<RevenueEngine> engine, Account account, Date since,
                                      CancellationToken token, CycleLoads *loads);
    void closeCycle(Date start, quint64 generation);
    void notifyForNewEvents(const QList<PaymentEvent> &events);
    // Takes what the historical fill found into the feed.
    void adoptHistorical(const QList<GapFill::HistoricalEvent> &historical);
    Date retentionHorizon() const;
    QCoro::Task<> refreshCycle(CancellationToken token);
    QCoro::Task<> autoRefreshLoop(CancellationToken token);
    QString accountName(const QUuid &id) const;
    void markMissingEventScope(const QUuid &accountId);
    void reportListingFailure(const Account &account, const QString &listing, const StripeError &error);
    void startIconCaching(const Account &account);
    void applyMrrSettings();
    void announceMrrGoal(double goalUsd);
    QCoro::Task<> lookUpChurnCustomers(Account account, std::shared_ptr<const StripeSource> source,
                                       QList<SubscriptionCancellation> cancellations, CancellationToken token);
    std::optional<ExpandedSubscription::SubCustomer> churnCustomer(const QUuid &accountId,
                                                                   const std::optional<QString> &customerId) const;
    std::unique_ptr<IconCache> makeIconCache();

    EngineEnvironment m_env;
    StripeSources m_sources;

    QList<Account> m_accounts;
    Preferences m_preferences;
    bool m_isLoading = false;
    std::optional<QString> m_lastError;
    std::optional<Date> m_lastRefreshed;
    QSet<QUuid> m_missingEventScopeAccounts;
    std::optional<QUuid> m_selectedAccountFilter;
    std::optional<double> m_lastRefreshDuration;
    std::optional<QString> m_refreshProgress;
    std::optional<Date> m_refreshStartTime;
    int m_eventsRefreshDone = 0;
    int m_eventsRefreshTotal = 0;
    QSet<RevenueKind> m_unavailableKinds;
    FeedRetention::Reading m_clockAtStart = FeedRetention::read(*m_env.clock);
    NotifierBookkeeping m_notifications;
    QHash<QUuid, Date> m_syncState;
    // Each group is the one owner of its tasks and cancels them when the engine goes away.
    TaskGroup m_refreshTask;        // the auto-refresh loop
    TaskGroup m_currentRefreshTask; // the refresh triggerRefresh() started
    // The cycle in progress; cancelCurrentRefresh() cancels it. A cycle applies its results
    // only while its generation is still the current one.
    std::optional<CancellationToken> m_runningCycle;
    quint64 m_cycleGeneration = 0;
    QString m_menubarLabel;
    // Customers of cancelled subscriptions by account and customer id, looked up once each.
    QHash<QString, ExpandedSubscription::SubCustomer> m_churnCustomers;
    std::unique_ptr<AccountFiles> m_files;
    std::unique_ptr<FeedStore> m_feedStore;
    std::unique_ptr<CredentialSync> m_credentials;
    std::unique_ptr<Records> m_records;
    std::unique_ptr<AtRiskSubscriptions> m_atRisk;
    std::unique_ptr<HistoricalFill> m_historicalFill;
    std::unique_ptr<MrrTracker> m_mrr;
    // Declared last so it goes first: its tasks stop before the state they write back to.
    std::unique_ptr<IconCache> m_iconCache;
};
