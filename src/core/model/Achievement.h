#pragma once

#include "model/Enums.h"
#include "json/JsonReader.h"

#include <QList>

// A revenue milestone reached by a day, a week or a month.
struct Achievement
{
    AchievementPeriod period = AchievementPeriod::Day;
    double thresholdUSD = 0;
    Date achievedAt;

    // "day_1000": the period and the threshold truncated to a whole number.
    QString id() const;
    static Achievement decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const Achievement &, const Achievement &) = default;
};

// The content of "achievements.json".
struct AchievementsState
{
    QList<Achievement> achievements;
    double bestDayUSD = 0;
    std::optional<Date> bestDayDate;
    double bestWeekUSD = 0;
    std::optional<Date> bestWeekStartDate;
    double bestMonthUSD = 0;
    std::optional<Date> bestMonthStartDate;
    // The highest MRR goal the user reached, and when; 0 and none before the first.
    double mrrGoalReachedUSD = 0;
    std::optional<Date> mrrGoalReachedDate;

    // The milestones of each period in US dollars, ascending.
    static const QList<double> &thresholds(AchievementPeriod period);

    static AchievementsState decode(JsonReader &reader, DateForm form = DateForm::Iso8601);
    friend bool operator==(const AchievementsState &, const AchievementsState &) = default;
};

QJsonObject toJson(const Achievement &achievement, DateForm form = DateForm::Iso8601);
size_t qHash(const Achievement &achievement, size_t seed = 0);
QJsonObject toJson(const AchievementsState &state, DateForm form = DateForm::Iso8601);
