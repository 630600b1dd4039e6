#include "Achievement.h"

#include <cmath>

using namespace Qt::StringLiterals;

QString Achievement::id() const
{
    return toRaw(period) + u'_' + QString::number(static_cast<qint64>(thresholdUSD));
}

Achievement Achievement::decode(JsonReader &r, DateForm form)
{
    Achievement a;
    a.period = r.enumeration<AchievementPeriod>("period"_L1);
    a.thresholdUSD = r.amount("thresholdUSD"_L1);
    a.achievedAt = r.date("achievedAt"_L1, form);
    return a;
}

const QList<double> &AchievementsState::thresholds(AchievementPeriod period)
{
    static const QList<double> day{50, 100, 250, 500, 1000, 2500, 5000, 10000, 25000, 50000, 100000};
    static const QList<double> week{500, 1000, 5000, 10000, 25000, 50000, 100000, 250000, 500000};
    static const QList<double> month{1000, 5000, 10000, 25000, 50000, 100000, 250000, 500000, 1000000, 2500000, 5000000};
    switch (period) {
    case AchievementPeriod::Day: return day;
    case AchievementPeriod::Week: return week;
    case AchievementPeriod::Month: return month;
    }
    return day;
}

AchievementsState AchievementsState::decode(JsonReader &r, DateForm form)
{
    AchievementsState s;
    r.forEachObject("achievements"_L1,
                    [&s, form](JsonReader &element) { s.achievements.append(Achievement::decode(element, form)); });
    s.bestDayUSD = r.amount("bestDayUSD"_L1);
    s.bestDayDate = r.optDate("bestDayDate"_L1, form);
    s.bestWeekUSD = r.amount("bestWeekUSD"_L1);
    s.bestWeekStartDate = r.optDate("bestWeekStartDate"_L1, form);
    s.bestMonthUSD = r.amount("bestMonthUSD"_L1);
    s.bestMonthStartDate = r.optDate("bestMonthStartDate"_L1, form);
    // Absent from files written before MRR goals existed.
    if (const auto goal = r.optNumber("mrrGoalReachedUSD"_L1); goal && std::isfinite(*goal) && *goal > 0)
        s.mrrGoalReachedUSD = *goal;
    s.mrrGoalReachedDate = r.optDate("mrrGoalReachedDate"_L1, form);
    return s;
}

QJsonObject toJson(const Achievement &a, DateForm form)
{
    return QJsonObject{{"period"_L1, toRaw(a.period)},
                       {"thresholdUSD"_L1, a.thresholdUSD},
                       {"achievedAt"_L1, encodeDate(a.achievedAt, form)}};
}

QJsonObject toJson(const AchievementsState &s, DateForm form)
{
    QJsonArray list;
    for (const auto &a : s.achievements)
        list.append(toJson(a, form));
    QJsonObject o{{"achievements"_L1, list},
                  {"bestDayUSD"_L1, s.bestDayUSD},
                  {"bestWeekUSD"_L1, s.bestWeekUSD},
                  {"bestMonthUSD"_L1, s.bestMonthUSD}};
    if (s.bestDayDate)
        o.insert("bestDayDate"_L1, encodeDate(*s.bestDayDate, form));
    if (s.bestWeekStartDate)
        o.insert("bestWeekStartDate"_L1, encodeDate(*s.bestWeekStartDate, form));
    if (s.bestMonthStartDate)
        o.insert("bestMonthStartDate"_L1, encodeDate(*s.bestMonthStartDate, form));
    if (s.mrrGoalReachedDate) {
        o.insert("mrrGoalReachedUSD"_L1, s.mrrGoalReachedUSD);
        o.insert("mrrGoalReachedDate"_L1, encodeDate(*s.mrrGoalReachedDate, form));
    }
    return o;
}

size_t qHash(const Achievement &a, size_t seed)
{
    return qHashMulti(seed, toRaw(a.period), a.thresholdUSD, a.achievedAt.referenceSeconds());
}
