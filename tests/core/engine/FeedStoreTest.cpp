// The feed store alone: the accounts, preferences and selected account are the fixture's, the
// feed is read from a fresh data folder.
#include "EngineFixture.h"
#include "engine/FeedStore.h"

using namespace Qt::StringLiterals;

class FeedStoreTest : public EngineFixture
{
protected:
    QList<Account> accounts;
    Preferences preferences = Preferences::defaults(Date::fromUnix(0), calendar);
    std::optional<QUuid> selected;
    FeedStore store{{[this] { return accounts; }, [] { return false; }, [this] { return preferences; },
                     [this] { return selected; }},
                    calendar, clock};

    FeedStore &withFeed(Date now, const QList<PaymentEvent> &feed)
    {
        clock->set(now);
        EXPECT_TRUE(storage().saveFeed(feed));
        EXPECT_TRUE(store.adoptStored(FeedStore::read(storage()).events));
        return store;
    }
};

TEST_F(FeedStoreTest, DaysFollowLocalMidnightAcrossDaylightSavingChanges)
{
    const struct
    {
        const char *name;
        Date now, dayStart;
        double hoursLong;
        Date early, late, nextDay; // the first two inside the day
    } rows[] = {
        // Berlin springs forward on 29 March 2026 and falls back on 25 October 2026.
        {"23-hour day", local(2026, 3, 30), local(2026, 3, 29, 0), 23,
         local(2026, 3, 29, 0, 30), local(2026, 3, 29, 23, 30), local(2026, 3, 30, 0, 0, 1)},
        {"25-hour day", local(2026, 10, 26), local(2026, 10, 25, 0), 25,
         local(2026, 10, 25, 0, 30), local(2026, 10, 25, 23, 30), local(2026, 10, 26, 0, 0, 1)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        FeedStore &e = withFeed(row.now, {event(u"early"_s, row.early, RevenueKind::Recurring, 10),
                                              event(u"late"_s, row.late, RevenueKind::Recurring, 10),
                                              event(u"next"_s, row.nextDay, RevenueKind::Recurring, 1)});
        const QList<DailyBucket> days = e.dailyBuckets();
        const auto day = std::find_if(days.cbegin(), days.cend(),
                                      [&](const DailyBucket &b) { return b.date == row.dayStart; });
        ASSERT_TRUE(day != days.cend());
        EXPECT_DOUBLE_EQ(day->recurringMRR, 20);
        EXPECT_DOUBLE_EQ((day + 1)->date.secondsSince(day->date), row.hoursLong * 3600);
        EXPECT_DOUBLE_EQ((day + 1)->recurringMRR, 1);
    }
}

TEST_F(FeedStoreTest, KindsCountWhereTheyBelongAndRevenueWindowsAreHalfOpen)
{
    const Date now = local(2026, 3, 18, 15); // a Wednesday
    FeedStore &e = withFeed(now, {
        event(u"churn"_s, local(2026, 3, 18, 9), RevenueKind::Churn, 29),
        event(u"fail"_s, local(2026, 3, 18, 10), RevenueKind::Failed, 40),
        event(u"refund"_s, local(2026, 3, 18, 11), RevenueKind::Refund, 50),
        event(u"new"_s, local(2026, 3, 18, 12), RevenueKind::New, 100),
        event(u"lateUtc"_s, local(2026, 3, 17, 23, 30), RevenueKind::Recurring, 7),
    });
    const DailyBucket today = e.dailyBuckets().last();
    EXPECT_EQ(today, (DailyBucket{local(2026, 3, 18, 0), 100, 0, 29}));
    EXPECT_EQ(e.dailyBuckets()[93], (DailyBucket{local(2026, 3, 17, 0), 0, 7, 0})) << "23:30 local is the local day";
    EXPECT_EQ(e.totals(TimeRange::Mtd), (Totals{100, 7, 29}));
    EXPECT_DOUBLE_EQ(e.todayRevenueUSD(), 100);
    EXPECT_DOUBLE_EQ(e.thisWeekRevenueUSD(), 107); // Monday 16 March onwards
    EXPECT_DOUBLE_EQ(e.thisMonthRevenueUSD(), 107);
    // A window includes its start and excludes its end.
    const Date sale = local(2026, 3, 18, 12);
    EXPECT_DOUBLE_EQ(e.revenueIn(sale, sale.addingSeconds(1)), 100);
    EXPECT_DOUBLE_EQ(e.revenueIn(sale.addingSeconds(-1), sale), 0);
}

TEST_F(FeedStoreTest, RangeStartsAndTheCustomEnd)
{
    const Date now = local(2026, 3, 18, 15); // Wednesday
    preferences.customRangeStart = local(2026, 3, 1, 17);
    preferences.customRangeEnd = local(2026, 3, 3, 8);
    FeedStore &e = withFeed(now, {
        event(u"a"_s, local(2026, 3, 1, 0, 0), RevenueKind::New, 1),
        event(u"b"_s, local(2026, 3, 3, 23, 59, 59), RevenueKind::Recurring, 2),
        event(u"c"_s, local(2026, 3, 4, 0, 0), RevenueKind::Recurring, 4),
        event(u"d"_s, local(2026, 2, 28, 23, 59, 59), RevenueKind::Recurring, 8),
        event(u"f"_s, local(2026, 3, 2, 9), RevenueKind::Failed, 16),
    });
    EXPECT_EQ(e.startDate(TimeRange::Mtd), local(2026, 3, 1, 0));
    EXPECT_EQ(e.startDate(TimeRange::Last7Days), local(2026, 3, 11, 0)) << "the previous Wednesday";
    EXPECT_EQ(e.startDate(TimeRange::Last30Days), local(2026, 2, 16, 0));
    EXPECT_EQ(e.startDate(TimeRange::Last90Days), local(2025, 12, 18, 0));
    EXPECT_EQ(e.startDate(TimeRange::Custom), local(2026, 3, 1, 0));
    EXPECT_EQ(e.endDate(TimeRange::Custom), local(2026, 3, 3, 23, 59, 59));
    EXPECT_EQ(e.totals(TimeRange::Custom), (Totals{1, 2, 0}));
    EXPECT_EQ(e.buckets(TimeRange::Custom), (QList<DailyBucket>{{local(2026, 3, 1, 0), 1, 0, 0},
                                                                {local(2026, 3, 2, 0), 0, 0, 0},
                                                                {local(2026, 3, 3, 0), 0, 2, 0}}))
        << "only days with events, failed-only days included";
    EXPECT_EQ(e.buckets(TimeRange::Last7Days).size(), 8) << "today plus seven whole days";
}

TEST_F(FeedStoreTest, AccountFilterUsesTheFeedBetweenStartAndNow)
{
    const QUuid mine = QUuid::createUuid();
    const Date now = local(2026, 3, 18, 15);
    FeedStore &e = withFeed(now, {
        event(u"a"_s, local(2026, 3, 10), RevenueKind::New, 10, mine),
        event(u"b"_s, local(2026, 3, 11), RevenueKind::New, 20),
        event(u"c"_s, local(2026, 1, 10), RevenueKind::New, 40, mine),
    });
    selected = mine;
    EXPECT_EQ(e.totals(TimeRange::Last30Days), (Totals{10, 0, 0}));
    EXPECT_EQ(e.filteredFeed().size(), 2);
    QList<PaymentEvent> byIndex;
    for (qsizetype i : e.filteredFeedIndices())
        byIndex.append(e.shown().at(i));
    EXPECT_EQ(byIndex, e.filteredFeed());
    EXPECT_EQ(e.buckets(TimeRange::Last30Days).size(), 1);
    selected.reset();
    EXPECT_EQ(e.totals(TimeRange::Last30Days), (Totals{30, 0, 0}));
}

TEST(FeedMerge, ReplacesByIdKeepsTheRetentionBoundaryAndSortsNewestFirst)
{
    const Date horizon = Date::fromUnix(1'000'000);
    auto ev = [](const char *id, double unix, double usd) {
        return PaymentEvent{.id = QString::fromLatin1(id), .date = Date::fromUnix(unix), .usdAmount = usd};
    };
    const QList<PaymentEvent> merged = FeedStore::merge(
        {ev("keep", 1'000'000, 1), ev("dup", 1'000'500, 2), ev("gone", 999'999, 3)},
        {ev("dup", 1'000'600, 20), ev("fresh", 1'000'100, 4), ev("dup", 1'000'700, 30)}, horizon);
    ASSERT_EQ(merged.size(), 3);
    EXPECT_EQ(merged[0].id, u"dup"_s);
    EXPECT_DOUBLE_EQ(merged[0].usdAmount, 30) << "the last event with an id wins";
    EXPECT_EQ(merged[1].id, u"fresh"_s);
    EXPECT_EQ(merged[2].id, u"keep"_s) << "an event exactly at the horizon stays";
}
