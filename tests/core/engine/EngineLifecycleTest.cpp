#include "EngineFixture.h"

#include <QPromise>
#include <QThreadPool>

using namespace Qt::StringLiterals;

using EngineLifecycle = EngineFixture;

TEST_F(EngineLifecycle, FirstLaunchStartsEmptyAndALoadFindingNothingGivesNinetyFiveZeroDays)
{
    RevenueEngine &e = start();
    EXPECT_TRUE(e.accounts().isEmpty());
    EXPECT_EQ(e.preferences(), Preferences::defaults(clock->now(), calendar));
    EXPECT_TRUE(e.feed().isEmpty());
    EXPECT_TRUE(e.dailyBuckets().isEmpty()) << "no days before anything was loaded";
    EXPECT_EQ(e.unavailableKinds().size(), 5);
    EXPECT_FALSE(e.lastRefreshed().has_value());
    EXPECT_EQ(e.menubarLabel(), u"$0"_s);

    e.rebuildBucketsFromFeed(); // what a load that found nothing does
    ASSERT_EQ(e.dailyBuckets().size(), 95);
    EXPECT_EQ(e.dailyBuckets().last().date, calendar.startOfDay(clock->now()));
    for (TimeRange r : allCases<TimeRange>())
        EXPECT_EQ(e.totals(r), Totals{}) << toRaw(r).toStdString();
    EXPECT_TRUE(e.buckets(TimeRange::Custom).isEmpty());
}

TEST_F(EngineLifecycle, StoredFeedIsSortedAndCoverageDecidesTheSyncReset)
{
    const struct { const char *name; int oldestDaysAgo; bool withAccount, syncKept; } rows[] = {
        {"short feed with an account resets", 10, true, false},
        {"short feed without accounts keeps", 10, false, true},
        {"long feed keeps", 26, true, true},
    };
    const auto readingInBackground = [this](bool background, QFuture<void> after = {}) {
        EngineEnvironment env = environment();
        env.readFeedInBackground = background;
        env.feedReadAfter = after;
        return env;
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        QTemporaryDir fresh;
        dir.swap(fresh);
        const Storage s = storage();
        const Date now = clock->now(), synced = now.addingSeconds(-3600);
        const Account account = stripeAccount(u"Main"_s);
        if (row.withAccount)
            ASSERT_TRUE(s.saveAccounts({account}));
        // Stored oldest first to prove start-up sorts newest first.
        ASSERT_TRUE(s.saveFeed({event(u"old"_s, now.addingSeconds(-row.oldestDaysAgo * 86400.0), RevenueKind::New, 5),
                                event(u"new"_s, now.addingSeconds(-60), RevenueKind::Recurring, 7)}));
        for (const auto &[background, cued] : {std::pair{false, false}, {true, false}, {true, true}}) {
            SCOPED_TRACE(cued ? "read in the background once cued" : background ? "in the background" : "at once");
            ASSERT_TRUE(s.saveSyncState({{account.id, synced}}));
            QPromise<void> cue;
            cue.start();
            RevenueEngine &e = start(readingInBackground(background, cued ? cue.future() : QFuture<void>()));
            int feedChanges = 0;
            QObject::connect(&e, &RevenueEngine::feedChanged, [&feedChanges] { ++feedChanges; });
            EXPECT_EQ(e.isLoading(), background);
            EXPECT_EQ(e.menubarLabel() == u"…"_s, background); // never a wrong "$0" meanwhile
            if (cued) {
                QThreadPool::globalInstance()->waitForDone();
                VirtualClock::settle();
                EXPECT_TRUE(e.isLoading() && e.feed().isEmpty()) << "read before the cue";
                cue.finish();
            }
            ASSERT_TRUE(waitUntil([&] { return !e.isLoading(); }));
            EXPECT_NE(e.menubarLabel(), u"…"_s);
            EXPECT_EQ(feedChanges, background ? 1 : 0); // handed over in one step
            ASSERT_EQ(e.feed().size(), 2);
            EXPECT_EQ(e.feed().first().id, u"new"_s);
            EXPECT_EQ(e.dailyBuckets().isEmpty(), false);
            EXPECT_EQ(e.lastRefreshed(), std::optional<Date>(Date::fromUnix(std::floor(synced.unixSeconds()))));
            EXPECT_EQ(s.loadSyncState().isEmpty(), !row.syncKept);
            engine.reset();
        }
        // An engine gone before its read ends, or before it was cued: the read ends without touching it.
        start(readingInBackground(true));
        engine.reset();
        {
            QPromise<void> cue;
            cue.start();
            start(readingInBackground(true, cue.future()));
            engine.reset();
        }
        QThreadPool::globalInstance()->waitForDone();
        VirtualClock::settle();
    }
}

TEST_F(EngineLifecycle, UpsertReplacesInPlaceOrAppendsAndRemoveDeletesEveryMatch)
{
    RevenueEngine &e = start();
    const Account a = stripeAccount(u"A"_s), b = stripeAccount(u"B"_s), c = stripeAccount(u"C"_s);
    for (const Account &x : {a, b, c})
        e.upsertAccount(x);
    Account renamed = c;
    renamed.name = u"C2"_s;
    e.upsertAccount(renamed);
    ASSERT_EQ(e.accounts().size(), 3);
    EXPECT_EQ(e.accounts()[2].name, u"C2"_s);
    EXPECT_EQ(storage().loadAccounts(), e.accounts());

    e.removeAccount(b);
    EXPECT_EQ(storage().loadAccounts(), (QList<Account>{a, renamed}));
}

TEST_F(EngineLifecycle, LabelShowsNewPlusRecurringOfTheFilteredAccountOrAMaskInTheDashboardCurrency)
{
    const QUuid other = QUuid::createUuid();
    const Date now = clock->now();
    ASSERT_TRUE(storage().saveFeed({
        event(u"a"_s, now.addingSeconds(-60), RevenueKind::New, 1000),
        event(u"b"_s, now.addingSeconds(-120), RevenueKind::Recurring, 234),
        event(u"c"_s, now.addingSeconds(-180), RevenueKind::Churn, 500),
        event(u"d"_s, now.addingSeconds(-240), RevenueKind::Refund, 50),
        event(u"e"_s, now.addingSeconds(-300), RevenueKind::Recurring, 20000, other),
    }));
    ASSERT_TRUE(storage().saveMrrSnapshots({{calendar.startOfDay(now), 12345, 40, false}}));
    RevenueEngine &e = start();
    EXPECT_EQ(e.menubarLabel(), u"$21.2K"_s);
    int changes = 0;
    QObject::connect(&e, &RevenueEngine::menubarLabelChanged, [&] { ++changes; });
    e.setSelectedAccountFilter(other);
    EXPECT_EQ(e.menubarLabel(), u"$20.0K"_s);
    EXPECT_EQ(changes, 1);
    Preferences p = e.preferences();
    p.privacyMode = true;
    p.dashboardCurrency = u"GBP"_s;
    e.setPreferences(p);
    EXPECT_EQ(e.menubarLabel(), u"£••••"_s);
    // MRR instead of the range's revenue, masked all the same.
    p.menubarShowsMrr = true;
    e.setPreferences(p);
    EXPECT_EQ(e.menubarLabel(), u"£••••"_s);
    p.privacyMode = false;
    p.dashboardCurrency = u"USD"_s;
    e.setPreferences(p);
    EXPECT_EQ(e.menubarLabel(), u"$12.3K"_s);
}

TEST_F(EngineLifecycle, AutoRefreshSleepsAtLeastFifteenSeconds)
{
    struct Row { qint64 refreshSeconds; double expectedSleep; };
    for (const Row row : {Row{5, 15}, Row{15, 15}, Row{300, 300}}) {
        SCOPED_TRACE(row.refreshSeconds);
        clock = std::make_shared<VirtualClock>();
        Preferences p = Preferences::defaults(clock->now(), calendar);
        p.refreshSeconds = row.refreshSeconds;
        ASSERT_TRUE(storage().savePreferences(p));
        start(true);
        clock->advance(row.expectedSleep * 3 + 1);
        // Auto-refresh and at-risk loops both sleep; pick the refresh loop's sleeps.
        QList<double> refreshSleeps;
        for (double s : clock->requestedSleeps())
            if (s != RevenueEngine::atRiskRefreshSeconds || row.expectedSleep == 300)
                refreshSleeps.append(s);
        ASSERT_GE(refreshSleeps.size(), 3);
        for (double s : refreshSleeps.mid(0, 3))
            EXPECT_EQ(s, row.expectedSleep);
        engine.reset();
        EXPECT_EQ(clock->sleepingCount(), 0) << "destroying the engine wakes and ends both loops";
    }
}

TEST_F(EngineLifecycle, NoEnabledAccountsShowNothingWithoutLoadingAndKeepTheDisabledAccountsEvents)
{
    Account disabled = stripeAccount(u"Off"_s);
    disabled.enabled = false;
    ASSERT_TRUE(storage().saveAccounts({disabled}));
    const QList<PaymentEvent> stored{event(u"kept"_s, clock->now().addingSeconds(-60), RevenueKind::New, 10, disabled.id),
                                     event(u"orphan"_s, clock->now().addingSeconds(-60), RevenueKind::New, 5)};
    ASSERT_TRUE(storage().saveFeed(stored));
    RevenueEngine &e = start();
    bool everLoading = false;
    QObject::connect(&e, &RevenueEngine::isLoadingChanged, [&] { everLoading |= e.isLoading(); });
    QCoro::waitFor(e.refresh());
    EXPECT_FALSE(everLoading);
    EXPECT_TRUE(e.feed().isEmpty());
    EXPECT_TRUE(e.dailyBuckets().isEmpty());
    EXPECT_EQ(storage().loadFeed(), stored.first(1)) << "an event of no known account goes";
    EXPECT_FALSE(e.lastRefreshed().has_value());
}
