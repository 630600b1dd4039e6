#pragma once

#include "engine/EngineTypes.h"
#include "model/DailyBucket.h"
#include "util/TimeContext.h"

// Day arithmetic for buckets without a time-zone conversion per event: the local day
// starts of a span are computed once, and an event finds its day by binary search.
class DayIndex
{
public:
    // About ten years: far more than any feed holds.
    static constexpr qint64 maxDays = 3660;

    // Days from the local day of `first` through the local day of `last`, inclusive, but
    // no more than the last `maxDays` of them.
    DayIndex(const TimeContext &calendar, Date first, Date last);

    qsizetype size() const { return m_starts.size() - 1; }
    Date dayStart(qsizetype index) const { return m_starts.at(index); }
    // The index of the day containing `date`, or -1 outside the span.
    qsizetype indexOf(Date date) const;

private:
    QList<Date> m_starts; // one per day plus the start of the day after the last
};

void addToBucket(DailyBucket &bucket, const PaymentEvent &event);
void addToTotals(Totals &totals, const PaymentEvent &event);
