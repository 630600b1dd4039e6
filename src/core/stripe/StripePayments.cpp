#include "StripePayments.h"

#include "StripeJson.h"

using namespace Qt::StringLiterals;

namespace StripeJson {

std::optional<QString> expandableId(JsonReader &reader, QLatin1StringView key)
{
    const QJsonValue value = reader.raw(key);
    if (value.isString())
        return value.toString();
    if (value.isUndefined() || value.isNull())
        return std::nullopt;
    if (!value.isObject()) {
        reader.failKey(key, "an id or an object");
        return std::nullopt;
    }
    JsonReader object = reader.nested(value.toObject(), key);
    QString id = object.string("id"_L1);
    if (reader.failed())
        return std::nullopt;
    return id;
}

} // namespace StripeJson

namespace {

struct InvoiceLineDecoder
{
    static RawInvoice::InvoiceLine decode(JsonReader &reader) { return {reader.optString("description"_L1)}; }
};

struct InvoiceLinesDecoder
{
    static RawInvoice::InvoiceLines decode(JsonReader &reader)
    {
        return {StripeJson::arrayOf<InvoiceLineDecoder, RawInvoice::InvoiceLine>(reader, "data"_L1)};
    }
};

// One entry of an invoice's `payments` list (new shape): what paid, and whether it did.
struct InvoicePaymentEntry
{
    std::optional<QString> status;
    std::optional<QString> payment_intent;
    std::optional<QString> charge;

    static InvoicePaymentEntry decode(JsonReader &reader)
    {
        InvoicePaymentEntry entry;
        entry.status = reader.optString("status"_L1);
        if (const auto payment = reader.optObject("payment"_L1)) {
            JsonReader nested = reader.nested(*payment, "payment"_L1);
            entry.payment_intent = StripeJson::expandableId(nested, "payment_intent"_L1);
            entry.charge = StripeJson::expandableId(nested, "charge"_L1);
        }
        return entry;
    }
};

// The paid entry's value wins; an invoice with several attempts lists failed ones too.
std::optional<QString> pickPayment(const QList<InvoicePaymentEntry> &entries,
                                   std::optional<QString> InvoicePaymentEntry::*field)
{
    std::optional<QString> fallback;
    for (const InvoicePaymentEntry &entry : entries) {
        const auto &value = entry.*field;
        if (!value || value->isEmpty())
            continue;
        if (entry.status == u"paid"_s)
            return value;
        if (!fallback)
            fallback = value;
    }
    return fallback;
}

} // namespace

RawInvoice RawInvoice::decode(JsonReader &reader)
{
    RawInvoice invoice;
    invoice.id = reader.string("id"_L1);
    invoice.amount_paid = reader.integer("amount_paid"_L1);
    invoice.amount_due = reader.optInteger("amount_due"_L1);
    invoice.currency = reader.string("currency"_L1);
    invoice.created = reader.integer("created"_L1);
    invoice.billing_reason = reader.optString("billing_reason"_L1);
    invoice.customer = StripeJson::expandableId(reader, "customer"_L1);
    invoice.customer_name = reader.optString("customer_name"_L1);
    invoice.customer_email = reader.optString("customer_email"_L1);
    invoice.charge = StripeJson::expandableId(reader, "charge"_L1);
    invoice.payment_intent = StripeJson::expandableId(reader, "payment_intent"_L1);
    invoice.subscription = StripeJson::expandableId(reader, "subscription"_L1);
    invoice.status = reader.optString("status"_L1);
    invoice.paid = reader.optBoolean("paid"_L1);
    invoice.lines = StripeJson::optObjectOf<InvoiceLinesDecoder, InvoiceLines>(reader, "lines"_L1);

    if (!invoice.subscription) {
        if (const auto parent = reader.optObject("parent"_L1)) {
            JsonReader parentReader = reader.nested(*parent, "parent"_L1);
            if (const auto details = parentReader.optObject("subscription_details"_L1)) {
                JsonReader detailsReader = parentReader.nested(*details, "subscription_details"_L1);
                invoice.subscription = StripeJson::expandableId(detailsReader, "subscription"_L1);
            }
        }
    }
    if (!invoice.charge || !invoice.payment_intent) {
        if (const auto payments = reader.optObject("payments"_L1)) {
            JsonReader paymentsReader = reader.nested(*payments, "payments"_L1);
            const auto entries = StripeJson::arrayOf<InvoicePaymentEntry>(paymentsReader, "data"_L1);
            if (!invoice.charge)
                invoice.charge = pickPayment(entries, &InvoicePaymentEntry::charge);
            if (!invoice.payment_intent)
                invoice.payment_intent = pickPayment(entries, &InvoicePaymentEntry::payment_intent);
        }
    }
    return invoice;
}

namespace {

struct BillingDetailsDecoder
{
    static RawCharge::BillingDetails decode(JsonReader &reader)
    {
        return {reader.optString("email"_L1), reader.optString("name"_L1)};
    }
};

std::optional<QMap<QString, QString>> readMetadata(JsonReader &reader, QLatin1StringView key)
{
    const auto object = reader.optObject(key);
    if (!object)
        return std::nullopt;
    QMap<QString, QString> out;
    for (auto it = object->begin(); it != object->end(); ++it) {
        if (!it.value().isString()) {
            reader.fail(reader.pathOf(key) + u'.' + it.key() + u": expected a string"_s);
            return std::nullopt;
        }
        out.insert(it.key(), it.value().toString());
    }
    return out;
}

} // namespace

RawCharge RawCharge::decode(JsonReader &reader)
{
    RawCharge charge;
    charge.id = reader.string("id"_L1);
    charge.amount = reader.optInteger("amount"_L1);
    charge.amount_refunded = reader.optInteger("amount_refunded"_L1);
    charge.currency = reader.string("currency"_L1);
    charge.created = reader.optInteger("created"_L1);
    charge.status = reader.optString("status"_L1);
    charge.paid = reader.optBoolean("paid"_L1);
    charge.customer = StripeJson::expandableId(reader, "customer"_L1);
    charge.invoice = StripeJson::expandableId(reader, "invoice"_L1);
    charge.carriesInvoiceLink = !reader.raw("invoice"_L1).isUndefined();
    charge.payment_intent = StripeJson::expandableId(reader, "payment_intent"_L1);
    charge.billing_details = StripeJson::optObjectOf<BillingDetailsDecoder, BillingDetails>(reader, "billing_details"_L1);
    charge.description = reader.optString("description"_L1);
    charge.metadata = readMetadata(reader, "metadata"_L1);
    return charge;
}

RawInvoicePayment RawInvoicePayment::decode(JsonReader &reader)
{
    RawInvoicePayment payment;
    payment.id = reader.string("id"_L1);
    payment.invoice = StripeJson::expandableId(reader, "invoice"_L1);
    const InvoicePaymentEntry entry = InvoicePaymentEntry::decode(reader);
    payment.status = entry.status;
    payment.payment_intent = entry.payment_intent;
    payment.charge = entry.charge;
    return payment;
}
