#include "MrrSource.h"

#include "stripe/StripeSource.h"

using namespace Qt::StringLiterals;

namespace MrrSource {

namespace {

std::optional<Date> unixDate(std::optional<qint64> seconds)
{
    return seconds ? std::optional(Date::fromUnix(double(*seconds))) : std::nullopt;
}

MrrDiscount::Duration durationOf(const std::optional<QString> &duration)
{
    if (duration == u"once"_s)
        return MrrDiscount::Duration::Once;
    if (duration == u"repeating"_s)
        return MrrDiscount::Duration::Repeating;
    return MrrDiscount::Duration::Forever;
}

// A line without its price: the interval its period spans.
std::pair<QString, qint64> intervalOfPeriod(qint64 seconds)
{
    const double days = double(seconds) / 86400.0;
    if (days >= 330)
        return {u"year"_s, std::max<qint64>(qint64(std::llround(days / 365.0)), 1)};
    if (days >= 26)
        return {u"month"_s, std::max<qint64>(qint64(std::llround(days / 30.44)), 1)};
    if (days >= 6)
        return {u"week"_s, std::max<qint64>(qint64(std::llround(days / 7.0)), 1)};
    return {u"day"_s, std::max<qint64>(qint64(std::llround(days)), 1)};
}

MrrSubscription convert(const BillingSubscription &wire, const QUuid &accountId)
{
    MrrSubscription out;
    out.id = wire.id;
    out.accountId = accountId;
    out.customerId = wire.customer.value_or(wire.id);
    out.customerName = wire.customer_name.value_or(QString());
    out.currency = wire.currency.toLower();
    out.status = wire.status.value_or(QString());
    out.startDate = Date::fromUnix(double(wire.start_date.value_or(wire.created)));
    out.canceledAt = unixDate(wire.canceled_at);
    out.endedAt = unixDate(wire.ended_at);
    out.trialEnd = unixDate(wire.trial_end);
    for (const BillingSubscription::Item &item : wire.items) {
        MrrItem mrrItem;
        mrrItem.id = item.id;
        mrrItem.quantity = item.quantity.value_or(1);
        if (item.price) {
            mrrItem.unitAmount = item.price->unit_amount.value_or(0);
            mrrItem.interval = item.price->interval.value_or(u"month"_s);
            mrrItem.intervalCount = item.price->interval_count.value_or(1);
            mrrItem.metered = item.price->usage_type == u"metered"_s;
        }
        out.items.append(mrrItem);
    }
    for (const BillingDiscount &discount : wire.discounts) {
        if (!discount.coupon)
            continue;
        MrrDiscount mrrDiscount;
        mrrDiscount.percentOff = discount.coupon->percent_off.value_or(0);
        // An amount off in another currency than the subscription's does not apply to it.
        const bool sameCurrency = !discount.coupon->currency || discount.coupon->currency->compare(out.currency, Qt::CaseInsensitive) == 0;
        mrrDiscount.amountOff = sameCurrency ? discount.coupon->amount_off.value_or(0) : 0;
        mrrDiscount.duration = durationOf(discount.coupon->duration);
        mrrDiscount.end = unixDate(discount.end);
        out.discounts.append(mrrDiscount);
    }
    return out;
}

} // namespace

MrrListing fromStripe(const QList<BillingSubscription> &subscriptions, const QList<BillingInvoice> &invoices,
                      const QUuid &accountId)
{
    MrrListing out;
    QHash<QString, const BillingSubscription::Item *> items; // by item id, for lines without a price
    for (const BillingSubscription &wire : subscriptions) {
        out.subscriptions.append(convert(wire, accountId));
        for (const BillingSubscription::Item &item : wire.items)
            items.insert(item.id, &item);
    }
    QHash<QString, std::pair<qint64, qint64>> latestMetered; // item id → (period end, amount)
    for (const BillingInvoice &invoice : invoices) {
        for (const BillingInvoice::Line &line : invoice.lines) {
            const std::optional<QString> subscription = line.subscription ? line.subscription : invoice.subscription;
            if (line.proration || !subscription || line.type == u"invoiceitem"_s || !line.period_start || !line.period_end)
                continue;
            MrrInvoiceLine mrrLine;
            mrrLine.subscriptionId = *subscription;
            mrrLine.itemId = line.subscription_item.value_or(QString());
            mrrLine.periodStart = Date::fromUnix(double(*line.period_start));
            mrrLine.periodEnd = Date::fromUnix(double(*line.period_end));
            mrrLine.amount = line.amount - line.discounted;
            mrrLine.currency = invoice.currency.toLower();
            std::optional<BillingPrice> price = line.price;
            if ((!price || !price->interval) && items.contains(mrrLine.itemId))
                price = items.value(mrrLine.itemId)->price;
            if (price && price->interval) {
                mrrLine.interval = *price->interval;
                mrrLine.intervalCount = price->interval_count.value_or(1);
            } else {
                std::tie(mrrLine.interval, mrrLine.intervalCount) = intervalOfPeriod(*line.period_end - *line.period_start);
            }
            if (!mrrLine.itemId.isEmpty()) {
                auto &latest = latestMetered[mrrLine.itemId];
                if (*line.period_end >= latest.first)
                    latest = {*line.period_end, line.amount - line.discounted};
            }
            out.lines[mrrLine.subscriptionId].append(mrrLine);
        }
    }
    for (MrrSubscription &subscription : out.subscriptions)
        for (MrrItem &item : subscription.items)
            if (item.metered && latestMetered.contains(item.id))
                item.lastPaidAmount = latestMetered.value(item.id).second;
    return out;
}

QCoro::Task<Result<MrrListing, QString>> load(std::shared_ptr<const StripeSource> source, QUuid accountId, Date since,
                                            CancellationToken token)
{
    auto subscriptions = co_await source->fetchAllSubscriptions(token);
    if (!subscriptions)
        co_return subscriptions.error().description();
    auto invoices = co_await source->fetchPaidSubscriptionInvoices(since, token);
    if (!invoices)
        co_return invoices.error().description();
    co_return fromStripe(subscriptions.value(), invoices.value(), accountId);
}

} // namespace MrrSource
