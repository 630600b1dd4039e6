// Daily buckets, range boundaries and totals, all in the user's calendar.
#include "RevenueEngine.h"

#include "engine/BucketMath.h"

void RevenueEngine::rebuildBucketsFromFeed()
{
    const TimeContext &calendar = m_env.calendar;
    const Date today = calendar.startOfDay(now());
    const DayIndex days(calendar, calendar.addingDays(today, -(feedRetentionDays - 1)), today);
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

Date RevenueEngine::startDate(TimeRange range) const
{
    const TimeContext &calendar = m_env.calendar;
    const Date current = now();
    const Date today = calendar.startOfDay(current);
    switch (range) {
    case TimeRange::Mtd: return calendar.startOfMonth(current);
    case TimeRange::Last7Days: return calendar.addingDays(today, -7);
    case TimeRange::Last30Days: return calendar.addingDays(today, -30);
    case TimeRange::Last90Days: return calendar.addingDays(today, -90);
    case TimeRange::Custom: return calendar.startOfDay(m_preferences.customRangeStart);
    }
    return today;
}

Date RevenueEngine::endDate(TimeRange range) const
{
    if (range == TimeRange::Custom)
        return m_env.calendar.endOfDay(m_preferences.customRangeEnd);
    return now();
}

Totals RevenueEngine::totals(TimeRange range) const
{
    const Date start = startDate(range);
    Totals t;
    if (!m_selectedAccountFilter && range != TimeRange::Custom) {
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
        if (m_selectedAccountFilter && e.accountId != *m_selectedAccountFilter)
            continue;
        addToTotals(t, e);
    }
    return t;
}

QList<DailyBucket> RevenueEngine::buckets(TimeRange range) const
{
    const Date start = startDate(range);
    if (!m_selectedAccountFilter && range != TimeRange::Custom) {
        QList<DailyBucket> out;
        for (const DailyBucket &b : m_dailyBuckets)
            if (b.date >= start)
                out.append(b);
        return out;
    }
    const Date end = endDate(range);
    if (end < start)
        return {};
    const DayIndex days(m_env.calendar, start, end);
    QList<std::optional<DailyBucket>> byDay(days.size());
    for (const PaymentEvent &e : m_shownFeed) {
        if (e.date < start || e.date > end)
            continue;
        if (m_selectedAccountFilter && e.accountId != *m_selectedAccountFilter)
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

QList<PaymentEvent> RevenueEngine::filteredFeed() const
{
    if (!m_selectedAccountFilter)
        return m_shownFeed;
    QList<PaymentEvent> out;
    out.reserve(m_shownFeed.size());
    for (const PaymentEvent &e : m_shownFeed)
        if (e.accountId == *m_selectedAccountFilter)
            out.append(e);
    return out;
}

QList<qsizetype> RevenueEngine::filteredFeedIndices() const
{
    QList<qsizetype> out;
    out.reserve(m_shownFeed.size());
    for (qsizetype i = 0; i < m_shownFeed.size(); ++i)
        if (!m_selectedAccountFilter || m_shownFeed[i].accountId == *m_selectedAccountFilter)
            out.append(i);
    return out;
}

double RevenueEngine::revenueIn(Date start, Date end) const
{
    double sum = 0;
    for (const PaymentEvent &e : m_shownFeed)
        if (e.date >= start && e.date < end && (e.kind == RevenueKind::New || e.kind == RevenueKind::Recurring))
            sum += e.usdAmount;
    return sum;
}

double RevenueEngine::todayRevenueUSD() const
{
    const Date current = now();
    return revenueIn(m_env.calendar.startOfDay(current), current);
}

double RevenueEngine::thisWeekRevenueUSD() const
{
    const Date current = now();
    return revenueIn(m_env.calendar.startOfWeek(current), current);
}

double RevenueEngine::thisMonthRevenueUSD() const
{
    const Date current = now();
    return revenueIn(m_env.calendar.startOfMonth(current), current);
}
