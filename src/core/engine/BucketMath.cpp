#include "BucketMath.h"

DayIndex::DayIndex(const TimeContext &calendar, Date first, Date last)
{
    // A custom range may span millennia; no feed reaches back that far, so only the most
    // recent `maxDays` get buckets and the loop stays bounded.
    const QDate lastDay = calendar.local(last).date();
    QDate firstDay = calendar.local(first).date();
    if (firstDay.isValid() && lastDay.isValid() && firstDay.daysTo(lastDay) >= maxDays)
        firstDay = lastDay.addDays(-(maxDays - 1));
    const qint64 count = std::max<qint64>(0, firstDay.daysTo(lastDay) + 1);
    m_starts.reserve(count + 1);
    for (qint64 i = 0; i <= count; ++i)
        m_starts.append(Date::fromDateTime(firstDay.addDays(i).startOfDay(calendar.zone())));
}

qsizetype DayIndex::indexOf(Date date) const
{
    if (m_starts.size() < 2 || date < m_starts.first() || !(date < m_starts.last()))
        return -1;
    const auto it = std::upper_bound(m_starts.begin(), m_starts.end(), date);
    return (it - m_starts.begin()) - 1;
}

void addToBucket(DailyBucket &bucket, const PaymentEvent &event)
{
    switch (event.kind) {
    case RevenueKind::New: bucket.newMRR += event.usdAmount; break;
    case RevenueKind::Recurring: bucket.recurringMRR += event.usdAmount; break;
    case RevenueKind::Churn: bucket.churn += event.usdAmount; break;
    case RevenueKind::Failed:
    case RevenueKind::Refund: break;
    }
}

void addToTotals(Totals &totals, const PaymentEvent &event)
{
    switch (event.kind) {
    case RevenueKind::New: totals.newMRR += event.usdAmount; break;
    case RevenueKind::Recurring: totals.recurringMRR += event.usdAmount; break;
    case RevenueKind::Churn: totals.churn += event.usdAmount; break;
    case RevenueKind::Failed:
    case RevenueKind::Refund: break;
    }
}
