#pragma once

#include "util/Clock.h"
#include "util/Date.h"
#include "util/TimeContext.h"

#include <optional>

// How far back the stored feed reaches: `days` whole days before the start of today. A wall
// clock stepped ahead for a while (a wrong date, a resumed machine) must not purge what it
// only seems to have aged, so today is the earlier of the wall clock's and the one measured
// on the monotonic clock since a reading taken at start; and a clock wrong from the start,
// which would purge even the newest stored event, is measured from that event instead.
namespace FeedRetention {

// The wall and monotonic clocks read at one moment.
struct Reading
{
    Date wall;
    double monotonicSeconds = 0;
};
Reading read(const Clock &clock);

Date horizon(Date now, Date measuredNow, std::optional<Date> newestStored, int days, const TimeContext &calendar);
// The same with `measuredNow` from `start` and the clock's monotonic time now.
Date horizon(const Clock &clock, Reading start, std::optional<Date> newestStored, int days, const TimeContext &calendar);

} // namespace FeedRetention
