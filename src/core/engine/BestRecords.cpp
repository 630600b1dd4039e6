#include "BestRecords.h"

#include <map>

namespace BestRecords {
namespace {

bool counts(RevenueKind kind)
{
    return kind == RevenueKind::New || kind == RevenueKind::Recurring;
}

// Keyed by the period's start in seconds; a map keeps the periods in time order so that
// ties go to the earliest.
using Totals = std::map<double, double>;

PeriodBest best(const Totals &totals)
{
    PeriodBest result;
    for (const auto &[start, usd] : totals) {
        if (usd > result.usd) {
            result.usd = usd;
            result.start = Date::fromReferenceSeconds(start);
        }
    }
    return result;
}

void raise(double &record, std::optional<Date> &recordDate, const PeriodBest &computed)
{
    if (record < computed.usd) {
        record = computed.usd;
        recordDate = computed.start;
    }
}

void unlock(AchievementsState &state, AchievementPeriod period, double record, std::optional<Date> recordDate, Date now)
{
    for (double threshold : AchievementsState::thresholds(period)) {
        if (threshold > record)
            break;
        const Achievement candidate{period, threshold, recordDate.value_or(now)};
        const QString id = candidate.id();
        const bool known = std::any_of(state.achievements.cbegin(), state.achievements.cend(),
                                       [&](const Achievement &a) { return a.id() == id; });
        if (!known)
            state.achievements.append(candidate);
    }
}

} // namespace

Bests compute(const QList<PaymentEvent> &feed, const TimeContext &calendar)
{
    // The feed is sorted, so consecutive events mostly share a day: the day's bounds are
    // computed once per day met, not once per event, which keeps time-zone conversions out
    // of the per-event loop.
    Totals days;
    Date dayStart = Date::fromReferenceSeconds(0);
    Date nextDayStart = dayStart;
    double *dayTotal = nullptr;
    for (const PaymentEvent &event : feed) {
        if (!counts(event.kind))
            continue;
        if (!dayTotal || event.date < dayStart || !(event.date < nextDayStart)) {
            const QDate day = calendar.local(event.date).date();
            dayStart = Date::fromDateTime(day.startOfDay(calendar.zone()));
            nextDayStart = Date::fromDateTime(day.addDays(1).startOfDay(calendar.zone()));
            dayTotal = &days[dayStart.referenceSeconds()];
        }
        *dayTotal += event.usdAmount;
    }

    Totals weeks;
    Totals months;
    for (const auto &[start, usd] : days) {
        const Date day = Date::fromReferenceSeconds(start);
        weeks[calendar.startOfWeek(day).referenceSeconds()] += usd;
        months[calendar.startOfMonth(day).referenceSeconds()] += usd;
    }
    return {best(days), best(weeks), best(months)};
}

AchievementsState updated(AchievementsState state, const Bests &bests, Date now)
{
    raise(state.bestDayUSD, state.bestDayDate, bests.day);
    raise(state.bestWeekUSD, state.bestWeekStartDate, bests.week);
    raise(state.bestMonthUSD, state.bestMonthStartDate, bests.month);
    unlock(state, AchievementPeriod::Day, state.bestDayUSD, state.bestDayDate, now);
    unlock(state, AchievementPeriod::Week, state.bestWeekUSD, state.bestWeekStartDate, now);
    unlock(state, AchievementPeriod::Month, state.bestMonthUSD, state.bestMonthStartDate, now);
    return state;
}

std::optional<double> nextThreshold(AchievementPeriod period, double value)
{
    for (double threshold : AchievementsState::thresholds(period))
        if (threshold > value)
            return threshold;
    return std::nullopt;
}

} // namespace BestRecords
