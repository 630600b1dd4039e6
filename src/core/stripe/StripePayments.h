#pragma once

#include "json/JsonReader.h"

#include <QList>
#include <QMap>
#include <QString>
#include <optional>

// Invoices and charges as Stripe sends them, cut down to what the engine reads. Field names
// are Stripe's JSON keys. Both API shapes decode into the same records: the shape up to
// 2025-02-24.acacia and the one from 2025-03-31.basil on, which Stripe still uses for events
// created under it whatever version a request pins.

struct RawInvoice
{
    struct InvoiceLine
    {
        std::optional<QString> description;
        friend bool operator==(const InvoiceLine &, const InvoiceLine &) = default;
    };
    struct InvoiceLines
    {
        QList<InvoiceLine> data;
        friend bool operator==(const InvoiceLines &, const InvoiceLines &) = default;
    };

    QString id;
    qint64 amount_paid = 0; // minor units
    std::optional<qint64> amount_due;
    QString currency;
    qint64 created = 0; // Unix seconds; the paid-invoice query puts the event's time here
    std::optional<QString> billing_reason;
    std::optional<QString> customer;
    std::optional<QString> customer_name;
    std::optional<QString> customer_email;
    // Old shape: top-level keys. New shape: `charge` and `payment_intent` only when the
    // invoice carries its `payments` list, `subscription` under parent.subscription_details.
    std::optional<QString> charge;
    std::optional<QString> payment_intent;
    std::optional<QString> subscription;
    std::optional<QString> status;
    std::optional<bool> paid; // old shape only
    std::optional<InvoiceLines> lines;

    static RawInvoice decode(JsonReader &reader);
    friend bool operator==(const RawInvoice &, const RawInvoice &) = default;
};

struct RawCharge
{
    struct BillingDetails
    {
        std::optional<QString> email;
        std::optional<QString> name;
        friend bool operator==(const BillingDetails &, const BillingDetails &) = default;
    };

    QString id;
    std::optional<qint64> amount; // minor units
    std::optional<qint64> amount_refunded;
    QString currency;
    std::optional<qint64> created;
    std::optional<QString> status;
    std::optional<bool> paid;
    std::optional<QString> customer;
    // Old shape only: the new shape has no link from a charge to the invoice it paid; the
    // payment intent is what ties them together there.
    std::optional<QString> invoice;
    // Whether the charge came in a shape that has the `invoice` key at all (even as null):
    // then an absent invoice really means a stand-alone charge and needs no look-up.
    bool carriesInvoiceLink = false;
    std::optional<QString> payment_intent;
    std::optional<BillingDetails> billing_details;
    std::optional<QString> description;
    std::optional<QMap<QString, QString>> metadata;

    static RawCharge decode(JsonReader &reader);
    friend bool operator==(const RawCharge &, const RawCharge &) = default;
};

// Links one payment to one invoice (GET /v1/invoice_payments, basil and later).
struct RawInvoicePayment
{
    QString id;
    std::optional<QString> invoice;
    std::optional<QString> status;
    std::optional<QString> payment_intent; // payment.payment_intent
    std::optional<QString> charge;         // payment.charge
    qint64 created = 0;                    // 0 when not given; only paging looks at it

    static RawInvoicePayment decode(JsonReader &reader);
    friend bool operator==(const RawInvoicePayment &, const RawInvoicePayment &) = default;
};
