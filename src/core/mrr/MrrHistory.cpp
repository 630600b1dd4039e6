#include "MrrHistory.h"

#include "mrr/MrrMath.h"
#include "mrr/SubscriptionMrr.h"

using namespace Qt::StringLiterals;

namespace MrrHistory {

namespace {

// Never paid for: not revenue at any time.
bool neverStarted(const MrrSubscription &subscription)
{
    return subscription.status == u"incomplete" || subscription.status == u"incomplete_expired";
}

bool alive(const MrrSubscription &subscription, Date at)
{
    if (neverStarted(subscription) || at < subscription.startDate)
        return false;
    return !subscription.endedAt || at < *subscription.endedAt;
}

} // namespace

double subscriptionUsdAt(const MrrSubscription &subscription, const QList<MrrInvoiceLine> &lines, Date at,
                         bool countTrials, Date now)
{
    if (!alive(subscription, at))
        return 0;
    // Today is what the listing says now, status included.
    if (at >= now)
        return SubscriptionMrr::monthlyUsd(subscription, at, countTrials);
    if (subscription.trialEnd && at < *subscription.trialEnd)
        return countTrials ? SubscriptionMrr::toUsd(SubscriptionMrr::termsMinorUnits(subscription, at), subscription.currency)
                           : 0;
    // What was paid for the period around `at`, one line per item; without a paid line,
    // the terms the subscription has now.
    double usd = 0;
    bool paid = false;
    for (const MrrInvoiceLine &line : lines) {
        if (line.periodStart <= at && at < line.periodEnd) {
            paid = true;
            usd += SubscriptionMrr::toUsd(SubscriptionMrr::perMonth(double(line.amount), line.interval, line.intervalCount),
                                          line.currency);
        }
    }
    if (paid)
        return usd;
    return SubscriptionMrr::toUsd(SubscriptionMrr::termsMinorUnits(subscription, at), subscription.currency);
}

Rebuilt rebuild(const QList<MrrSubscription> &subscriptions, const QHash<QString, QList<MrrInvoiceLine>> &lines,
                Date now, const TimeContext &calendar, bool countTrials, int monthCount)
{
    Rebuilt out;
    monthCount = std::max(monthCount, 1);
    // Month starts, oldest first; MRR is measured just before each month begins and now.
    QList<Date> monthStarts{calendar.startOfMonth(now)};
    for (int i = 1; i < monthCount; ++i)
        monthStarts.prepend(calendar.startOfMonth(monthStarts.first().addingSeconds(-1)));
    QList<Date> points;
    for (const Date start : monthStarts)
        points.append(start.addingSeconds(-1));
    points.append(now);

    QList<MrrMath::CustomerKey> keys;
    keys.reserve(subscriptions.size());
    QHash<MrrMath::CustomerKey, QString> names;
    QSet<MrrMath::CustomerKey> hadMrr; // before the window: a subscription that ended earlier
    for (const MrrSubscription &subscription : subscriptions) {
        keys.append(MrrMath::customerKey(subscription.accountId, subscription.customerId));
        if (!subscription.customerName.isEmpty())
            names.insert(keys.last(), subscription.customerName);
        if (subscription.endedAt && !neverStarted(subscription) && subscription.startDate < *subscription.endedAt
            && *subscription.endedAt <= points.first())
            hadMrr.insert(keys.last());
    }

    static const QList<MrrInvoiceLine> noLines;
    QList<MrrMath::CustomerMrr> mrrAt;
    mrrAt.reserve(points.size());
    for (const Date point : points) {
        MrrMath::CustomerMrr mrr;
        for (qsizetype i = 0; i < subscriptions.size(); ++i) {
            const auto found = lines.constFind(subscriptions[i].id);
            const double usd = subscriptionUsdAt(subscriptions[i], found == lines.cend() ? noLines : *found, point,
                                                 countTrials, now);
            if (usd > 0)
                mrr[keys[i]] += usd;
        }
        mrrAt.append(std::move(mrr));
    }

    for (auto it = mrrAt.first().cbegin(); it != mrrAt.first().cend(); ++it)
        hadMrr.insert(it.key());
    for (int m = 0; m < monthCount; ++m) {
        const MrrMath::CustomerMrr &before = mrrAt[m];
        const MrrMath::CustomerMrr &after = mrrAt[m + 1];
        QList<CustomerMovement> movements = MrrMath::customerMovements(before, after, hadMrr);
        for (auto it = after.cbegin(); it != after.cend(); ++it)
            hadMrr.insert(it.key());
        MrrMonth month;
        month.monthStart = monthStarts[m];
        month.mrrUsd = MrrMath::total(after);
        month.activeCustomers = MrrMath::activeCustomers(after);
        month.movements = MrrMath::totals(movements);
        out.months.append(month);
        if (m == monthCount - 1) {
            for (CustomerMovement &movement : movements)
                movement.customerName = names.value(MrrMath::customerKey(movement.accountId, movement.customerId),
                                                    movement.customerId);
            out.summary = MrrMath::summary(before, after, month.movements);
            out.monthMovements = std::move(movements);
        }
    }
    return out;
}

} // namespace MrrHistory
