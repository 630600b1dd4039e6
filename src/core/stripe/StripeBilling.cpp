#include "StripeBilling.h"

#include "StripeJson.h"

using namespace Qt::StringLiterals;

BillingPrice BillingPrice::decode(JsonReader &reader)
{
    BillingPrice price;
    price.id = reader.optString("id"_L1);
    if (auto recurring = reader.optNested("recurring"_L1)) {
        price.interval = recurring->optRecurringString("interval"_L1);
        price.interval_count = recurring->optInteger("interval_count"_L1);
        price.usage_type = recurring->optRecurringString("usage_type"_L1);
    }
    price.unit_amount = reader.optMinorAmount("unit_amount"_L1);
    return price;
}

BillingCoupon BillingCoupon::decode(JsonReader &reader)
{
    BillingCoupon coupon;
    coupon.amount_off = reader.optMinorAmount("amount_off"_L1);
    coupon.currency = reader.optRecurringString("currency"_L1);
    coupon.duration = reader.optRecurringString("duration"_L1);
    coupon.percent_off = reader.optNumber("percent_off"_L1);
    return coupon;
}

BillingDiscount BillingDiscount::decode(JsonReader &reader)
{
    BillingDiscount discount;
    discount.coupon = StripeJson::optObjectOf<BillingCoupon>(reader, "coupon"_L1);
    discount.end = reader.optInteger("end"_L1);
    // Newer versions moved the coupon under `source`.
    if (!discount.coupon)
        if (auto source = reader.optNested("source"_L1))
            if (source->kind("coupon"_L1) == JsonKind::Object)
                discount.coupon = StripeJson::optObjectOf<BillingCoupon>(*source, "coupon"_L1);
    return discount;
}

BillingSubscription::Item BillingSubscription::Item::decode(JsonReader &reader)
{
    Item item;
    item.id = reader.string("id"_L1);
    item.price = StripeJson::optObjectOf<BillingPrice>(reader, "price"_L1);
    item.quantity = reader.optInteger("quantity"_L1);
    return item;
}

namespace {

// `discounts` holds ids unless expanded; only expanded ones carry their coupon.
QList<BillingDiscount> expandedDiscounts(JsonReader &reader)
{
    QList<BillingDiscount> out;
    if (reader.kind("discounts"_L1) != JsonKind::Array)
        return out;
    reader.forEachObjectSkippingBad(
        "discounts"_L1, false, [&out](JsonReader &element) { out.append(BillingDiscount::decode(element)); },
        [](JsonReader *) {});
    return out;
}

} // namespace

BillingSubscription BillingSubscription::decode(JsonReader &reader)
{
    BillingSubscription sub;
    sub.id = reader.string("id"_L1);
    sub.canceled_at = reader.optInteger("canceled_at"_L1);
    sub.created = reader.integer("created"_L1);
    sub.currency = reader.recurringString("currency"_L1);
    if (reader.kind("customer"_L1) == JsonKind::Object) {
        auto customer = reader.optNested("customer"_L1);
        sub.customer = customer->string("id"_L1);
        const auto email = customer->optString("email"_L1);
        const auto name = customer->optString("name"_L1);
        sub.customer_name = name && !name->isEmpty() ? name : email;
    } else {
        sub.customer = StripeJson::expandableId(reader, "customer"_L1);
    }
    // The old shape's single `discount` is also among `discounts`; the list wins when expanded.
    std::optional<BillingDiscount> single;
    if (reader.kind("discount"_L1) == JsonKind::Object)
        single = StripeJson::optObjectOf<BillingDiscount>(reader, "discount"_L1);
    sub.discounts = expandedDiscounts(reader);
    if (sub.discounts.isEmpty() && single)
        sub.discounts.append(*single);
    sub.ended_at = reader.optInteger("ended_at"_L1);
    if (auto items = reader.optNested("items"_L1))
        sub.items = StripeJson::arrayOf<Item>(*items, "data"_L1);
    sub.start_date = reader.optInteger("start_date"_L1);
    sub.status = reader.optRecurringString("status"_L1);
    sub.trial_end = reader.optInteger("trial_end"_L1);
    return sub;
}

BillingInvoice::Line BillingInvoice::Line::decode(JsonReader &reader)
{
    Line line;
    line.amount = reader.optMinorAmount("amount"_L1).value_or(0);
    if (reader.kind("discount_amounts"_L1) == JsonKind::Array)
        reader.forEachOptObject("discount_amounts"_L1, [&line](JsonReader &element) {
            line.discounted += element.optMinorAmount("amount"_L1).value_or(0);
        });
    // The new shape keeps the subscription and proration under parent.subscription_item_details.
    if (auto parent = reader.optNested("parent"_L1))
        if (auto details = parent->optNested("subscription_item_details"_L1)) {
            line.proration = details->optBoolean("proration"_L1).value_or(false);
            line.subscription = StripeJson::expandableId(*details, "subscription"_L1);
            line.subscription_item = StripeJson::expandableId(*details, "subscription_item"_L1);
        }
    if (auto period = reader.optNested("period"_L1)) {
        line.period_end = period->optInteger("end"_L1);
        line.period_start = period->optInteger("start"_L1);
    }
    if (reader.kind("price"_L1) == JsonKind::Object)
        line.price = StripeJson::optObjectOf<BillingPrice>(reader, "price"_L1);
    if (auto proration = reader.optBoolean("proration"_L1))
        line.proration = *proration;
    if (auto subscription = StripeJson::expandableId(reader, "subscription"_L1))
        line.subscription = subscription;
    if (auto item = StripeJson::expandableId(reader, "subscription_item"_L1))
        line.subscription_item = item;
    line.type = reader.optRecurringString("type"_L1);
    return line;
}

BillingInvoice BillingInvoice::decode(JsonReader &reader)
{
    BillingInvoice invoice;
    invoice.id = reader.string("id"_L1);
    invoice.created = reader.integer("created"_L1);
    invoice.currency = reader.recurringString("currency"_L1);
    if (auto lines = reader.optNested("lines"_L1))
        invoice.lines = StripeJson::arrayOf<Line>(*lines, "data"_L1);
    if (auto parent = reader.optNested("parent"_L1))
        if (auto details = parent->optNested("subscription_details"_L1))
            invoice.subscription = StripeJson::expandableId(*details, "subscription"_L1);
    if (auto subscription = StripeJson::expandableId(reader, "subscription"_L1))
        invoice.subscription = subscription;
    return invoice;
}
