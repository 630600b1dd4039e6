#include "MrrHistory.h"

#include "mrr/MrrMath.h"
#include "mrr/SubscriptionMrr.h"

#include <QVarLengthArray>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace MrrHistory {

namespace {

// Never paid for: not revenue at any time.
bool neverStarted(const MrrSubscription &subscription)
{
    return subscription.status == u"incomplete" || subscription.status == u"incomplete_expired";
}

// A subscription with its paid lines already in US dollars a month, so that measuring it
// at many dates converts nothing twice.
struct Prepared
{
    struct PaidPeriod
    {
        QString itemId;
        Date start;
        Date end;
        double monthlyUsd;
    };
    const MrrSubscription *subscription = nullptr;
    double usdPerMinorUnit = 0;
    std::vector<PaidPeriod> paid;

    Prepared(const MrrSubscription &s, const QList<MrrInvoiceLine> &lines)
        : subscription(&s)
        , usdPerMinorUnit(SubscriptionMrr::toUsd(1.0, s.currency))
    {
        paid.reserve(size_t(lines.size()));
        for (const MrrInvoiceLine &line : lines)
            paid.push_back({line.itemId, line.periodStart, line.periodEnd,
                            SubscriptionMrr::toUsd(SubscriptionMrr::perMonth(double(line.amount), line.interval,
                                                                             line.intervalCount),
                                                   line.currency)});
        std::stable_sort(paid.begin(), paid.end(), [](const PaidPeriod &a, const PaidPeriod &b) { return a.start > b.start; });
    }

    double usdAt(Date at, bool countTrials, Date now) const
    {
        const MrrSubscription &s = *subscription;
        if (neverStarted(s) || at < s.startDate || (s.endedAt && at >= *s.endedAt))
            return 0;
        // Today is what the listing says now, status included.
        if (at >= now)
            return SubscriptionMrr::monthlyMinorUnits(s, at, countTrials) * usdPerMinorUnit;
        if (s.trialEnd && at < *s.trialEnd)
            return countTrials ? SubscriptionMrr::termsMinorUnits(s, at) * usdPerMinorUnit : 0;
        // What was paid for the period around `at`: per item the line of the latest period
        // that covers it (a renewal billed before the last period ended overlaps it, and a
        // plan change starts a new period); without a paid line, the terms it has now.
        // `paid` is newest period first, so the first covering line of an item is its latest.
        QVarLengthArray<const QString *, 4> seen;
        double usd = 0;
        for (const PaidPeriod &period : paid) {
            if (!(period.start <= at && at < period.end)
                || std::any_of(seen.cbegin(), seen.cend(), [&](const QString *id) { return *id == period.itemId; }))
                continue;
            seen.append(&period.itemId);
            usd += period.monthlyUsd;
        }
        const bool covered = !seen.isEmpty();
        return covered ? usd : SubscriptionMrr::termsMinorUnits(s, at) * usdPerMinorUnit;
    }
};

} // namespace

double subscriptionUsdAt(const MrrSubscription &subscription, const QList<MrrInvoiceLine> &lines, Date at,
                         bool countTrials, Date now)
{
    return Prepared(subscription, lines).usdAt(at, countTrials, now);
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
    std::vector<Date> points;
    for (const Date start : monthStarts)
        points.push_back(start.addingSeconds(-1));
    points.push_back(now);

    // Customers by number, so the months add up in plain arrays.
    QHash<MrrMath::CustomerKey, int> customerIndex;
    QList<MrrMath::CustomerKey> customerKeys;
    QHash<int, QString> names;
    std::vector<int> customerOf;
    std::vector<Prepared> prepared;
    customerOf.reserve(size_t(subscriptions.size()));
    prepared.reserve(size_t(subscriptions.size()));
    static const QList<MrrInvoiceLine> noLines;
    for (const MrrSubscription &subscription : subscriptions) {
        const MrrMath::CustomerKey key = MrrMath::customerKey(subscription.accountId, subscription.customerId);
        auto it = customerIndex.constFind(key);
        if (it == customerIndex.cend()) {
            it = customerIndex.insert(key, int(customerKeys.size()));
            customerKeys.append(key);
        }
        customerOf.push_back(it.value());
        if (!subscription.customerName.isEmpty())
            names.insert(it.value(), subscription.customerName);
        const auto found = lines.constFind(subscription.id);
        prepared.emplace_back(subscription, found == lines.cend() ? noLines : *found);
    }
    const size_t customers = size_t(customerKeys.size());

    // Customers who had MRR before the window: a subscription of theirs ended earlier.
    std::vector<char> hadMrr(customers, 0);
    for (size_t i = 0; i < prepared.size(); ++i) {
        const MrrSubscription &s = *prepared[i].subscription;
        if (s.endedAt && !neverStarted(s) && s.startDate < *s.endedAt && *s.endedAt <= points.front())
            hadMrr[size_t(customerOf[i])] = 1;
    }

    std::vector<std::vector<double>> mrrAt(points.size(), std::vector<double>(customers, 0.0));
    for (size_t p = 0; p < points.size(); ++p)
        for (size_t i = 0; i < prepared.size(); ++i)
            mrrAt[p][size_t(customerOf[i])] += prepared[i].usdAt(points[p], countTrials, now);

    const auto toMap = [&](const std::vector<double> &mrr) {
        MrrMath::CustomerMrr map;
        for (size_t c = 0; c < customers; ++c)
            if (mrr[c] > 0)
                map.insert(customerKeys[qsizetype(c)], mrr[c]);
        return map;
    };
    for (size_t c = 0; c < customers; ++c)
        hadMrr[c] = hadMrr[c] || mrrAt[0][c] > 0;
    for (int m = 0; m < monthCount; ++m) {
        const std::vector<double> &before = mrrAt[size_t(m)];
        const std::vector<double> &after = mrrAt[size_t(m) + 1];
        MrrMonth month;
        month.monthStart = monthStarts[m];
        QList<CustomerMovement> movements;
        const bool last = m == monthCount - 1;
        for (size_t c = 0; c < customers; ++c) {
            month.mrrUsd += after[c];
            if (after[c] > MrrMath::negligibleUsd)
                ++month.activeCustomers;
            const auto kind = MrrMath::classify(before[c], after[c], hadMrr[c]);
            if (after[c] > 0)
                hadMrr[c] = 1;
            if (!kind)
                continue;
            if (last) {
                const qsizetype slash = customerKeys[qsizetype(c)].indexOf(u'/');
                movements.append({QUuid::fromString(QStringView(customerKeys[qsizetype(c)]).left(slash)),
                                  customerKeys[qsizetype(c)].mid(slash + 1), names.value(int(c)), *kind, before[c], after[c]});
                if (movements.last().customerName.isEmpty())
                    movements.last().customerName = movements.last().customerId;
            }
            const double change = std::abs(after[c] - before[c]);
            switch (*kind) {
            case MrrMovementKind::New:
                month.movements.newMrr += change;
                break;
            case MrrMovementKind::Expansion:
                month.movements.expansion += change;
                break;
            case MrrMovementKind::Contraction:
                month.movements.contraction += change;
                break;
            case MrrMovementKind::Churn:
                month.movements.churn += change;
                break;
            case MrrMovementKind::Reactivation:
                month.movements.reactivation += change;
                break;
            }
        }
        if (last) {
            std::sort(movements.begin(), movements.end(), [](const CustomerMovement &a, const CustomerMovement &b) {
                const double left = std::abs(a.changeUsd());
                const double right = std::abs(b.changeUsd());
                return left != right ? left > right : a.customerId < b.customerId;
            });
            out.summary = MrrMath::summary(toMap(before), toMap(after), month.movements);
            out.monthMovements = std::move(movements);
        }
        out.months.append(month);
    }
    return out;
}

} // namespace MrrHistory
