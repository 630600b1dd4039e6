#include "StripeSubscriptions.h"

#include "StripeJson.h"
#include "model/CurrencyConverter.h"

#include <limits>

using namespace Qt::StringLiterals;

RawSubscription::SubscriptionPrice::Recurring RawSubscription::SubscriptionPrice::Recurring::decode(JsonReader &reader)
{
    return {reader.optString("interval"_L1), reader.optInteger("interval_count"_L1)};
}

RawSubscription::SubscriptionPrice RawSubscription::SubscriptionPrice::decode(JsonReader &reader)
{
    SubscriptionPrice price;
    price.nickname = reader.optString("nickname"_L1);
    price.recurring = StripeJson::optObjectOf<Recurring>(reader, "recurring"_L1);
    price.unit_amount = reader.optMinorAmount("unit_amount"_L1);
    return price;
}

RawSubscription::SubscriptionItem RawSubscription::SubscriptionItem::decode(JsonReader &reader)
{
    SubscriptionItem item;
    item.current_period_end = reader.optInteger("current_period_end"_L1);
    item.price = StripeJson::optObjectOf<SubscriptionPrice>(reader, "price"_L1);
    item.quantity = reader.optInteger("quantity"_L1);
    return item;
}

RawSubscription::SubscriptionItems RawSubscription::SubscriptionItems::decode(JsonReader &reader)
{
    return {StripeJson::arrayOf<SubscriptionItem>(reader, "data"_L1)};
}

namespace {

// The old shape's top-level period end, else the new shape's first item's.
std::optional<qint64> periodEnd(std::optional<qint64> topLevel, const std::optional<RawSubscription::SubscriptionItems> &items)
{
    if (topLevel)
        return topLevel;
    if (items && !items->data.isEmpty())
        return items->data.first().current_period_end;
    return std::nullopt;
}

qint64 saturatingMultiply(qint64 a, qint64 b)
{
    qint64 out = 0;
    if (__builtin_mul_overflow(a, b, &out))
        return (a < 0) != (b < 0) ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    return out;
}

qint64 saturatingAdd(qint64 a, qint64 b)
{
    qint64 out = 0;
    if (__builtin_add_overflow(a, b, &out))
        return b < 0 ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    return out;
}

} // namespace

qint64 monthlyMinorUnits(const std::optional<RawSubscription::SubscriptionItems> &items)
{
    if (!items)
        return 0;
    qint64 total = 0;
    for (const auto &item : items->data) {
        if (!item.price || !item.price->unit_amount)
            continue;
        const qint64 amount = saturatingMultiply(*item.price->unit_amount, std::max<qint64>(item.quantity.value_or(1), 0));
        const auto &recurring = item.price->recurring;
        const QString interval = recurring && recurring->interval ? *recurring->interval : u"month"_s;
        const qint64 count = recurring && recurring->interval_count ? *recurring->interval_count : 1;
        qint64 monthly = 0;
        if (interval == u"year")
            monthly = amount / std::max<qint64>(saturatingMultiply(count, 12), 1);
        else if (interval == u"week")
            monthly = saturatingMultiply(amount, 4) / std::max<qint64>(count, 1);
        else if (interval == u"day")
            monthly = saturatingMultiply(amount, 30) / std::max<qint64>(count, 1);
        else
            monthly = amount / std::max<qint64>(count, 1);
        total = saturatingAdd(total, monthly);
    }
    return total;
}

double approximateMonthlyAmount(const std::optional<RawSubscription::SubscriptionItems> &items, QStringView currency)
{
    return CurrencyConverter::fromMinorUnits(monthlyMinorUnits(items), currency);
}

double RawSubscription::approximateMonthlyAmount() const
{
    return ::approximateMonthlyAmount(items, currency);
}

RawSubscription RawSubscription::decode(JsonReader &reader)
{
    RawSubscription sub;
    sub.id = reader.string("id"_L1);
    sub.canceled_at = reader.optInteger("canceled_at"_L1);
    sub.currency = reader.recurringString("currency"_L1);
    const auto topLevelPeriodEnd = reader.optInteger("current_period_end"_L1);
    sub.customer = StripeJson::expandableId(reader, "customer"_L1);
    sub.items = StripeJson::optObjectOf<SubscriptionItems>(reader, "items"_L1);
    sub.current_period_end = periodEnd(topLevelPeriodEnd, sub.items);
    return sub;
}

ExpandedSubscription::SubCustomer ExpandedSubscription::SubCustomer::decode(JsonReader &reader)
{
    return {reader.optString("id"_L1), reader.optString("email"_L1), reader.optString("name"_L1)};
}

namespace {

// Expanded on request, but an id string when Stripe could not expand it.
template<typename T>
std::optional<T> expandedOrId(JsonReader &reader, JsonReader::Key key)
{
    if (reader.kind(key) == JsonKind::String) {
        T out;
        out.id = reader.string(key);
        return out;
    }
    return StripeJson::optObjectOf<T>(reader, key);
}

} // namespace

ExpandedSubscription::LatestCharge ExpandedSubscription::LatestCharge::decode(JsonReader &reader)
{
    return {reader.optString("id"_L1), reader.optInteger("created"_L1)};
}

ExpandedSubscription::LatestInvoice ExpandedSubscription::LatestInvoice::decode(JsonReader &reader)
{
    LatestInvoice invoice;
    invoice.amount_due = reader.optMinorAmount("amount_due"_L1);
    invoice.charge = expandedOrId<LatestCharge>(reader, "charge"_L1);
    invoice.created = reader.optInteger("created"_L1);
    invoice.due_date = reader.optInteger("due_date"_L1);
    invoice.id = reader.optString("id"_L1);
    invoice.next_payment_attempt = reader.optInteger("next_payment_attempt"_L1);
    invoice.status = reader.optString("status"_L1);
    return invoice;
}

ExpandedSubscription::CancellationDetails ExpandedSubscription::CancellationDetails::decode(JsonReader &reader)
{
    return {reader.optString("reason"_L1)};
}

double ExpandedSubscription::approximateMonthlyAmount() const
{
    return ::approximateMonthlyAmount(items, currency);
}

QString ExpandedSubscription::planLabel() const
{
    if (items && !items->data.isEmpty()) {
        const auto &price = items->data.first().price;
        if (price && price->nickname && !price->nickname->isEmpty())
            return *price->nickname;
    }
    return u"Subscription"_s;
}

ExpandedSubscription ExpandedSubscription::decode(JsonReader &reader)
{
    ExpandedSubscription sub;
    sub.id = reader.string("id"_L1);
    sub.canceled_at = reader.optInteger("canceled_at"_L1);
    sub.cancellation_details = StripeJson::optObjectOf<CancellationDetails>(reader, "cancellation_details"_L1);
    sub.created = reader.optInteger("created"_L1);
    sub.currency = reader.recurringString("currency"_L1);
    const auto topLevelPeriodEnd = reader.optInteger("current_period_end"_L1);
    sub.customer = expandedOrId<SubCustomer>(reader, "customer"_L1);
    sub.ended_at = reader.optInteger("ended_at"_L1);
    sub.items = StripeJson::optObjectOf<SubscriptionItems>(reader, "items"_L1);
    sub.latest_invoice = expandedOrId<LatestInvoice>(reader, "latest_invoice"_L1);
    sub.status = reader.optString("status"_L1);
    sub.current_period_end = periodEnd(topLevelPeriodEnd, sub.items);
    return sub;
}

