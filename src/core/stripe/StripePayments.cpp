#include "StripePayments.h"

#include "StripeJson.h"

using namespace Qt::StringLiterals;

namespace {

struct InvoiceLineDecoder
{
    static RawInvoice::InvoiceLine decode(JsonReader &reader)
    {
        return {reader.optRecurringString("description"_L1)};
    }
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
        if (auto payment = reader.optNested("payment"_L1)) {
            entry.charge = StripeJson::expandableId(*payment, "charge"_L1);
            entry.payment_intent = StripeJson::expandableId(*payment, "payment_intent"_L1);
        }
        entry.status = reader.optRecurringString("status"_L1);
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
    invoice.amount_due = reader.optMinorAmount("amount_due"_L1);
    invoice.amount_paid = reader.minorAmount("amount_paid"_L1);
    invoice.billing_reason = reader.optRecurringString("billing_reason"_L1);
    invoice.charge = StripeJson::expandableId(reader, "charge"_L1);
    invoice.created = reader.integer("created"_L1);
    invoice.currency = reader.recurringString("currency"_L1);
    invoice.customer = StripeJson::expandableId(reader, "customer"_L1);
    invoice.customer_email = reader.optString("customer_email"_L1);
    invoice.customer_name = reader.optString("customer_name"_L1);
    invoice.id = reader.string("id"_L1);
    invoice.lines = StripeJson::optObjectOf<InvoiceLinesDecoder, InvoiceLines>(reader, "lines"_L1);
    invoice.paid = reader.optBoolean("paid"_L1);
    // The new shape names the subscription under parent.subscription_details; the old one
    // at the top level, which wins when both are there.
    std::optional<QString> parentSubscription;
    if (auto parent = reader.optNested("parent"_L1)) {
        if (auto details = parent->optNested("subscription_details"_L1))
            parentSubscription = StripeJson::expandableId(*details, "subscription"_L1);
    }
    invoice.payment_intent = StripeJson::expandableId(reader, "payment_intent"_L1);
    if (!invoice.charge || !invoice.payment_intent) {
        if (auto payments = reader.optNested("payments"_L1)) {
            const auto entries = StripeJson::arrayOf<InvoicePaymentEntry>(*payments, "data"_L1);
            if (!invoice.charge)
                invoice.charge = pickPayment(entries, &InvoicePaymentEntry::charge);
            if (!invoice.payment_intent)
                invoice.payment_intent = pickPayment(entries, &InvoicePaymentEntry::payment_intent);
        }
    }
    invoice.status = reader.optRecurringString("status"_L1);
    invoice.subscription = StripeJson::expandableId(reader, "subscription"_L1);
    if (!invoice.subscription)
        invoice.subscription = std::move(parentSubscription);
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

} // namespace

RawCharge RawCharge::decode(JsonReader &reader)
{
    RawCharge charge;
    charge.id = reader.string("id"_L1);
    charge.amount = reader.optMinorAmount("amount"_L1);
    charge.amount_refunded = reader.optMinorAmount("amount_refunded"_L1);
    charge.billing_details = StripeJson::optObjectOf<BillingDetailsDecoder, BillingDetails>(reader, "billing_details"_L1);
    charge.created = reader.optInteger("created"_L1);
    charge.currency = reader.recurringString("currency"_L1);
    charge.customer = StripeJson::expandableId(reader, "customer"_L1);
    charge.description = reader.optString("description"_L1);
    charge.carriesInvoiceLink = reader.kind("invoice"_L1) != JsonKind::Absent;
    charge.invoice = StripeJson::expandableId(reader, "invoice"_L1);
    charge.metadata = reader.optStringMap("metadata"_L1);
    charge.paid = reader.optBoolean("paid"_L1);
    charge.payment_intent = StripeJson::expandableId(reader, "payment_intent"_L1);
    charge.status = reader.optRecurringString("status"_L1);
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
    payment.created = reader.optInteger("created"_L1).value_or(0);
    return payment;
}

