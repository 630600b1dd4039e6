#include "SubscriptionMrr.h"

#include "model/CurrencyConverter.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace SubscriptionMrr {

double perMonth(double amount, QStringView interval, qint64 intervalCount)
{
    const double count = double(std::max<qint64>(intervalCount, 1));
    if (interval == u"year")
        return amount / 12.0 / count;
    if (interval == u"week")
        return amount * 52.0 / 12.0 / count;
    if (interval == u"day")
        return amount * 365.0 / 12.0 / count;
    return amount / count;
}

double monthlyMinorUnits(const MrrItem &item)
{
    const double perInterval = item.metered ? double(item.lastPaidAmount.value_or(0))
                                            : double(item.unitAmount) * double(std::max<qint64>(item.quantity, 0));
    return perMonth(perInterval, item.interval, item.intervalCount);
}

bool counts(QStringView status, bool countTrials)
{
    return status == u"active" || status == u"past_due" || (countTrials && status == u"trialing");
}

namespace {

bool inForce(const MrrDiscount &discount, Date at)
{
    switch (discount.duration) {
    case MrrDiscount::Duration::Forever:
        return true;
    case MrrDiscount::Duration::Repeating:
        return !discount.end || at < *discount.end;
    case MrrDiscount::Duration::Once:
        return false; // one invoice is not recurring revenue
    }
    return false;
}

// An amount off comes off each invoice, so per month it scales like the items: the
// subscription's own interval, that of its first item.
double discounted(const MrrSubscription &subscription, double monthly, Date at)
{
    const QString interval = subscription.items.isEmpty() ? u"month"_s : subscription.items.first().interval;
    const qint64 count = subscription.items.isEmpty() ? 1 : subscription.items.first().intervalCount;
    for (const MrrDiscount &discount : subscription.discounts) {
        if (!inForce(discount, at))
            continue;
        if (discount.percentOff > 0)
            monthly -= monthly * std::clamp(discount.percentOff, 0.0, 100.0) / 100.0;
        if (discount.amountOff > 0)
            monthly -= perMonth(double(discount.amountOff), interval, count);
    }
    return std::max(monthly, 0.0);
}

} // namespace

double monthlyMinorUnits(const MrrSubscription &subscription, Date at, bool countTrials)
{
    return counts(subscription.status, countTrials) ? termsMinorUnits(subscription, at) : 0;
}

double termsMinorUnits(const MrrSubscription &subscription, Date at)
{
    double monthly = 0;
    for (const MrrItem &item : subscription.items)
        monthly += monthlyMinorUnits(item);
    return discounted(subscription, monthly, at);
}

double toUsd(double minorUnits, QStringView currency)
{
    return CurrencyConverter::toUSD(minorUnits / CurrencyConverter::minorUnitFactor(currency), currency);
}

double monthlyUsd(const MrrSubscription &subscription, Date at, bool countTrials)
{
    return toUsd(monthlyMinorUnits(subscription, at, countTrials), subscription.currency);
}

} // namespace SubscriptionMrr
