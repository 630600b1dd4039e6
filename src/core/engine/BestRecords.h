#pragma once

#include "model/Achievement.h"
#include "model/PaymentEvent.h"
#include "util/TimeContext.h"

// Best day, week and month of new plus recurring revenue, and the milestones they unlock.
// Pure functions of the feed, the stored state and the user's calendar.
namespace BestRecords {

struct PeriodBest
{
    double usd = 0;
    std::optional<Date> start; // the period's first moment; absent when nothing counted
    friend bool operator==(const PeriodBest &, const PeriodBest &) = default;
};

struct Bests
{
    PeriodBest day;
    PeriodBest week;
    PeriodBest month;
    friend bool operator==(const Bests &, const Bests &) = default;
};

// Sums new and recurring revenue per local day, calendar week (the calendar's first weekday)
// and calendar month. Refunds and churn are not subtracted. Of equal totals the earliest
// period is kept.
Bests compute(const QList<PaymentEvent> &feed, const TimeContext &calendar);

// Raises each stored record that `bests` beats (records never go down, so a larger value
// typed in by hand stands) and appends the milestones the records now reach, in threshold
// order, dated by the record's period, or by `now` when the record has no date.
AchievementsState updated(AchievementsState state, const Bests &bests, Date now);

// The first threshold of `period` strictly above `value`; none when all are reached.
std::optional<double> nextThreshold(AchievementPeriod period, double value);

} // namespace BestRecords
