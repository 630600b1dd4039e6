// Best day/week/month in the user's calendar, and milestones unlocking in order.
#include "EngineFixture.h"
#include "engine/BestRecords.h"

using namespace Qt::StringLiterals;

namespace {

const QTimeZone berlin(QByteArrayLiteral("Europe/Berlin"));

Date at(int y, int m, int d, int h = 12)
{
    return Date::fromDateTime(QDateTime(QDate(y, m, d), QTime(h, 0), berlin));
}

PaymentEvent sale(Date date, double usd, RevenueKind kind = RevenueKind::New)
{
    return EngineFixture::event(QString::number(date.referenceSeconds()) + QString::number(usd), date, kind, usd);
}

} // namespace

TEST(BestRecords, PeriodsFollowTheLocalCalendarAcrossDaylightSaving)
{
    const QLocale us(QLocale::English, QLocale::UnitedStates);
    const QLocale de(QLocale::German, QLocale::Germany);
    const struct
    {
        const char *name;
        QLocale locale;
        QList<PaymentEvent> feed;
        BestRecords::Bests expected;
    } cases[] = {
        // Sunday 29 March 2026 is 23 hours long; 23:30 that night is still Sunday.
        {"short DST day, Monday weeks", de, {sale(at(2026, 3, 29, 1), 40), sale(at(2026, 3, 29, 23), 30), sale(at(2026, 3, 30, 0), 20)},
         {{70, at(2026, 3, 29, 0)}, {70, at(2026, 3, 23, 0)}, {90, at(2026, 3, 1, 0)}}},
        {"same events, Sunday weeks", us, {sale(at(2026, 3, 29, 1), 40), sale(at(2026, 3, 29, 23), 30), sale(at(2026, 3, 30, 0), 20)},
         {{70, at(2026, 3, 29, 0)}, {90, at(2026, 3, 29, 0)}, {90, at(2026, 3, 1, 0)}}},
        // The week of 19 October 2026 starts in summer time and ends in winter time.
        {"week across the autumn change", de, {sale(at(2026, 10, 25, 23), 50), sale(at(2026, 10, 19, 0), 50), sale(at(2026, 10, 26, 0), 10)},
         {{50, at(2026, 10, 19, 0)}, {100, at(2026, 10, 19, 0)}, {110, at(2026, 10, 1, 0)}}},
        {"churn, refunds and failures do not count", de,
         {sale(at(2026, 5, 4), 10), sale(at(2026, 5, 5), 500, RevenueKind::Churn), sale(at(2026, 5, 5), 500, RevenueKind::Refund),
          sale(at(2026, 5, 5), 500, RevenueKind::Failed)},
         {{10, at(2026, 5, 4, 0)}, {10, at(2026, 5, 4, 0)}, {10, at(2026, 5, 1, 0)}}},
        {"empty feed", de, {}, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const TimeContext calendar = TimeContext::forLocale(berlin, c.locale);
        EXPECT_EQ(BestRecords::compute(c.feed, calendar), c.expected);
    }
}

TEST(BestRecords, RecordsOnlyGoUpAndMilestonesUnlockInOrder)
{
    const Date now = at(2026, 3, 20);
    const AchievementsState handEdited{.bestDayUSD = 1200, .bestDayDate = at(2025, 12, 1, 0)};
    const AchievementsState unlocked{.achievements = {{AchievementPeriod::Day, 50, at(2026, 1, 1, 0)}},
                                     .bestDayUSD = 60, .bestDayDate = at(2026, 1, 1, 0)};
    const struct
    {
        const char *name;
        AchievementsState stored;
        BestRecords::Bests bests;
        QStringList ids;
        double bestDay;
        Date firstDate; // of the first milestone
    } cases[] = {
        {"first record of 300", {}, {{300, at(2026, 3, 3, 0)}, {300, at(2026, 3, 2, 0)}, {300, at(2026, 3, 1, 0)}},
         {u"day_50"_s, u"day_100"_s, u"day_250"_s}, 300, at(2026, 3, 3, 0)},
        {"threshold equal to the record", {}, {{}, {5000, at(2026, 3, 2, 0)}, {}},
         {u"week_500"_s, u"week_1000"_s, u"week_5000"_s}, 0, at(2026, 3, 2, 0)},
        {"a hand-edited larger record stands", handEdited, {{900, at(2026, 3, 3, 0)}, {}, {}},
         {u"day_50"_s, u"day_100"_s, u"day_250"_s, u"day_500"_s, u"day_1000"_s}, 1200, at(2025, 12, 1, 0)},
        {"an unlocked milestone keeps its date", unlocked, {{120, at(2026, 3, 3, 0)}, {}, {}},
         {u"day_50"_s, u"day_100"_s}, 120, at(2026, 1, 1, 0)},
        {"a weaker period changes nothing", unlocked, {{55, at(2026, 3, 3, 0)}, {}, {}}, {u"day_50"_s}, 60, at(2026, 1, 1, 0)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const AchievementsState s = BestRecords::updated(c.stored, c.bests, now);
        QStringList ids;
        for (const Achievement &a : s.achievements)
            ids << a.id();
        EXPECT_EQ(ids, c.ids);
        EXPECT_EQ(s.bestDayUSD, c.bestDay);
        ASSERT_FALSE(s.achievements.isEmpty());
        EXPECT_EQ(s.achievements.first().achievedAt, c.firstDate);
        EXPECT_EQ(BestRecords::updated(s, c.bests, now), s) << "a second update changes nothing";
    }
    EXPECT_EQ(BestRecords::nextThreshold(AchievementPeriod::Week, 499), 500);
    EXPECT_EQ(BestRecords::nextThreshold(AchievementPeriod::Week, 500), 1000);
    EXPECT_EQ(BestRecords::nextThreshold(AchievementPeriod::Month, 5'000'000), std::nullopt);
}
