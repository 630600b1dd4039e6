#include "MrrMath.h"

#include "mrr/SubscriptionMrr.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace MrrMath {

CustomerKey customerKey(const QUuid &accountId, const QString &customerId)
{
    return accountId.toString(QUuid::WithoutBraces) + u'/' + customerId;
}

CustomerMrr customerMrr(const QList<MrrSubscription> &subscriptions, Date at, bool countTrials)
{
    CustomerMrr out;
    for (const MrrSubscription &subscription : subscriptions) {
        const double usd = SubscriptionMrr::monthlyUsd(subscription, at, countTrials);
        if (usd > negligibleUsd)
            out[customerKey(subscription.accountId, subscription.customerId)] += usd;
    }
    return out;
}

std::optional<MrrMovementKind> classify(double fromUsd, double toUsd, bool hadMrrBefore)
{
    const bool had = fromUsd > negligibleUsd;
    const bool has = toUsd > negligibleUsd;
    if (!had && has)
        return hadMrrBefore ? MrrMovementKind::Reactivation : MrrMovementKind::New;
    if (had && !has)
        return MrrMovementKind::Churn;
    if (had && toUsd - fromUsd > negligibleUsd)
        return MrrMovementKind::Expansion;
    if (had && fromUsd - toUsd > negligibleUsd)
        return MrrMovementKind::Contraction;
    return std::nullopt;
}

QList<CustomerMovement> customerMovements(const CustomerMrr &before, const CustomerMrr &after,
                                          const QSet<CustomerKey> &hadMrrBefore)
{
    QList<CustomerMovement> out;
    const auto move = [&out](const CustomerKey &key, double from, double to, MrrMovementKind kind) {
        CustomerMovement movement;
        const qsizetype slash = key.indexOf(u'/');
        movement.accountId = QUuid::fromString(QStringView(key).left(slash));
        movement.customerId = key.mid(slash + 1);
        movement.kind = kind;
        movement.fromUsd = from;
        movement.toUsd = to;
        out.append(movement);
    };
    for (auto it = after.cbegin(); it != after.cend(); ++it) {
        const double from = before.value(it.key(), 0.0);
        if (const auto kind = classify(from, it.value(), hadMrrBefore.contains(it.key())))
            move(it.key(), from, it.value(), *kind);
    }
    for (auto it = before.cbegin(); it != before.cend(); ++it)
        if (!after.contains(it.key()))
            if (const auto kind = classify(it.value(), 0, true))
                move(it.key(), it.value(), 0, *kind);
    std::sort(out.begin(), out.end(), [](const CustomerMovement &a, const CustomerMovement &b) {
        const double left = std::abs(a.changeUsd());
        const double right = std::abs(b.changeUsd());
        return left != right ? left > right : a.customerId < b.customerId;
    });
    return out;
}

MrrMovements totals(const QList<CustomerMovement> &movements)
{
    MrrMovements out;
    for (const CustomerMovement &m : movements) {
        const double change = std::abs(m.changeUsd());
        switch (m.kind) {
        case MrrMovementKind::New:
            out.newMrr += change;
            break;
        case MrrMovementKind::Expansion:
            out.expansion += change;
            break;
        case MrrMovementKind::Contraction:
            out.contraction += change;
            break;
        case MrrMovementKind::Churn:
            out.churn += change;
            break;
        case MrrMovementKind::Reactivation:
            out.reactivation += change;
            break;
        }
    }
    return out;
}

double total(const CustomerMrr &mrr)
{
    double sum = 0;
    for (double usd : mrr)
        sum += usd;
    return sum;
}

int activeCustomers(const CustomerMrr &mrr)
{
    return int(std::count_if(mrr.cbegin(), mrr.cend(), [](double usd) { return usd > negligibleUsd; }));
}

MrrSummary summary(const CustomerMrr &monthStart, const CustomerMrr &now, const MrrMovements &movements)
{
    MrrSummary out;
    out.mrrUsd = total(now);
    out.arrUsd = 12.0 * out.mrrUsd;
    out.netNewUsd = movements.netNew();
    out.activeCustomers = activeCustomers(now);
    out.arpaUsd = out.activeCustomers > 0 ? out.mrrUsd / out.activeCustomers : 0;
    const int startCustomers = activeCustomers(monthStart);
    int lost = 0;
    for (auto it = monthStart.cbegin(); it != monthStart.cend(); ++it)
        if (it.value() > negligibleUsd && now.value(it.key(), 0.0) <= negligibleUsd)
            ++lost;
    out.logoChurnRate = startCustomers > 0 ? double(lost) / startCustomers : 0;
    const double startMrr = total(monthStart);
    out.netMrrChurnRate = startMrr > negligibleUsd
        ? (movements.churn + movements.contraction - movements.expansion - movements.reactivation) / startMrr
        : 0;
    return out;
}

} // namespace MrrMath
