// The days of the shown feed, range boundaries and totals, all in the user's calendar.
#include "FeedStore.h"

#include "engine/BucketMath.h"

void FeedStore::rebuildBuckets()
{
    const TimeContext &calendar = m_calendar;
    const Date today = calendar.startOfDay(m_clock->now());
    const DayIndex days(calendar, calendar.addingDays(today, -(retentionDays - 1)), today);
    QList<DailyBucket> buckets;
    buckets.reserve(days.size());
    for (qsizetype i = 0; i < days.size(); ++i)
        buckets.append(DailyBucket{days.dayStart(i)});
    for (const PaymentEvent &event : std::as_const(m_shownFeed)) {
        const qsizetype index = days.indexOf(event.date);
        if (index >= 0)
            addToBucket(buckets[index], event);
    }
    if (buckets != m_dailyBuckets) {
        m_dailyBuckets = std::move(buckets);
        Q_EMIT dailyBucketsChanged();
    }
}

Date FeedStore::startDate(TimeRange range) const
{
    const TimeContext &calendar = m_calendar;
    const Date current = m_clock->now();
    const Date today = calendar.startOfDay(current);
    switch (range) {
    case TimeRange::Mtd: return calendar.startOfMonth(current);
    case TimeRange::Last7Days: return calendar.addingDays(today, -7);
    case TimeRange::Last30Days: return calendar.addingDays(today, -30);
    case TimeRange::Last90Days: return calendar.addingDays(today, -90);
    case TimeRange::Custom: return calendar.startOfDay(m_neighbours.preferences().customRangeStart);
    }
    return today;
}

Date FeedStore::endDate(TimeRange range) const
{
    if (range == TimeRange::Custom)
        return m_calendar.endOfDay(m_neighbours.preferences().customRangeEnd);
    return m_clock->now();
}

Totals FeedStore::totals(TimeRange range) const
{
    const std::optional<QUuid> selected = m_neighbours.selectedAccount();
    const Date start = startDate(range);
    Totals t;
    if (!selected && range != TimeRange::Custom) {
        // The cached buckets end today, so no upper bound is needed.
        for (const DailyBucket &b : m_dailyBuckets) {
            if (b.date >= start) {
                t.newMRR += b.newMRR;
                t.recurringMRR += b.recurringMRR;
                t.churn += b.churn;
            }
        }
        return t;
    }
    const Date end = endDate(range);
    for (const PaymentEvent &e : m_shownFeed) {
        if (e.date < start || e.date > end)
            continue;
        if (selected && e.accountId != *selected)
            continue;
        addToTotals(t, e);
    }
    return t;
}

QList<DailyBucket> FeedStore::buckets(TimeRange range) const
{
    const std::optional<QUuid> selected = m_neighbours.selectedAccount();
    const Date start = startDate(range);
    if (!selected && range != TimeRange::Custom) {
        QList<DailyBucket> out;
        for (const DailyBucket &b : m_dailyBuckets)
            if (b.date >= start)
                out.append(b);
        return out;
    }
    const Date end = endDate(range);
    if (end < start)
        return {};
    const DayIndex days(m_calendar, start, end);
    QList<std::optional<DailyBucket>> byDay(days.size());
    for (const PaymentEvent &e : m_shownFeed) {
        if (e.date < start || e.date > end)
            continue;
        if (selected && e.accountId != *selected)
            continue;
        const qsizetype index = days.indexOf(e.date);
        if (index < 0)
            continue;
        if (!byDay[index])
            byDay[index] = DailyBucket{days.dayStart(index)};
        addToBucket(*byDay[index], e);
    }
    QList<DailyBucket> out;
    for (const auto &b : byDay)
        if (b)
            out.append(*b);
    return out;
}

QList<PaymentEvent> FeedStore::filteredFeed() const
{
    const std::optional<QUuid> selected = m_neighbours.selectedAccount();
    if (!selected)
        return m_shownFeed;
    QList<PaymentEvent> out;
    out.reserve(m_shownFeed.size());
    for (const PaymentEvent &e : m_shownFeed)
        if (e.accountId == *selected)
            out.append(e);
    return out;
}

QList<qsizetype> FeedStore::filteredFeedIndices() const
{
    const std::optional<QUuid> selected = m_neighbours.selectedAccount();
    QList<qsizetype> out;
    out.reserve(m_shownFeed.size());
    for (qsizetype i = 0; i < m_shownFeed.size(); ++i)
        if (!selected || m_shownFeed[i].accountId == *selected)
            out.append(i);
    return out;
}

double FeedStore::revenueIn(Date start, Date end) const
{
    double sum = 0;
    for (const PaymentEvent &e : m_shownFeed)
        if (e.date >= start && e.date < end && (e.kind == RevenueKind::New || e.kind == RevenueKind::Recurring))
            sum += e.usdAmount;
    return sum;
}

double FeedStore::todayRevenueUSD() const
{
    const Date current = m_clock->now();
    return revenueIn(m_calendar.startOfDay(current), current);
}

double FeedStore::thisWeekRevenueUSD() const
{
    const Date current = m_clock->now();
    return revenueIn(m_calendar.startOfWeek(current), current);
}

double FeedStore::thisMonthRevenueUSD() const
{
    const Date current = m_clock->now();
    return revenueIn(m_calendar.startOfMonth(current), current);
}
