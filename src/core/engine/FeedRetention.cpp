#include "FeedRetention.h"

namespace FeedRetention {

Reading read(const Clock &clock)
{
    return {clock.now(), clock.monotonicSeconds()};
}

Date horizon(Date now, Date measuredNow, std::optional<Date> newestStored, int days, const TimeContext &calendar)
{
    const auto horizonFrom = [&](Date anchor) { return calendar.addingDays(calendar.startOfDay(anchor), -days); };
    const Date horizon = horizonFrom(std::min(now, measuredNow));
    return newestStored && *newestStored < horizon ? horizonFrom(*newestStored) : horizon;
}

Date horizon(const Clock &clock, Reading start, std::optional<Date> newestStored, int days, const TimeContext &calendar)
{
    const Date measured = start.wall.addingSeconds(clock.monotonicSeconds() - start.monotonicSeconds);
    return horizon(clock.now(), measured, newestStored, days, calendar);
}

} // namespace FeedRetention
