#pragma once

#include "json/JsonReader.h"

#include <QList>
#include <QString>
#include <optional>

// Subscriptions and paid invoices as the MRR history reads them: every status, with the
// price terms, discounts and dates of each subscription, and the period and amount of each
// invoice line.

struct BillingPrice
{
    std::optional<QString> id;
    std::optional<qint64> unit_amount; // minor units; null on tiered prices
    std::optional<QString> interval;   // recurring.interval
    std::optional<qint64> interval_count;
    std::optional<QString> usage_type; // "licensed" or "metered"
    static BillingPrice decode(JsonReader &reader);
    friend bool operator==(const BillingPrice &, const BillingPrice &) = default;
};

struct BillingCoupon
{
    std::optional<double> percent_off;
    std::optional<qint64> amount_off;
    std::optional<QString> currency;
    std::optional<QString> duration; // "forever", "repeating", "once"
    static BillingCoupon decode(JsonReader &reader);
    friend bool operator==(const BillingCoupon &, const BillingCoupon &) = default;
};

struct BillingDiscount
{
    std::optional<BillingCoupon> coupon; // the old shape's; the new one nests it under `source`
    std::optional<qint64> end;
    static BillingDiscount decode(JsonReader &reader);
    friend bool operator==(const BillingDiscount &, const BillingDiscount &) = default;
};

struct BillingSubscription
{
    struct Item
    {
        QString id;
        std::optional<BillingPrice> price;
        std::optional<qint64> quantity;
        static Item decode(JsonReader &reader);
        friend bool operator==(const Item &, const Item &) = default;
    };

    QString id;
    qint64 created = 0; // what the listing is paged by
    std::optional<QString> customer;      // the id, also when Stripe sent the object
    std::optional<QString> customer_name; // name, else e-mail, of an expanded customer
    std::optional<QString> status;
    QString currency;
    std::optional<qint64> start_date;
    std::optional<qint64> canceled_at;
    std::optional<qint64> ended_at;
    std::optional<qint64> trial_end;
    QList<Item> items;
    QList<BillingDiscount> discounts; // `discount` of the old shape and expanded `discounts`

    static BillingSubscription decode(JsonReader &reader);
    friend bool operator==(const BillingSubscription &, const BillingSubscription &) = default;
};

struct BillingInvoice
{
    struct Line
    {
        std::optional<QString> subscription;      // old shape; new: parent.subscription_item_details
        std::optional<QString> subscription_item;
        qint64 amount = 0;                        // minor units before discounts
        qint64 discounted = 0;                    // Σ discount_amounts
        std::optional<qint64> period_start;
        std::optional<qint64> period_end;
        bool proration = false;
        std::optional<QString> type;              // "subscription", "invoiceitem"
        std::optional<BillingPrice> price;
        static Line decode(JsonReader &reader);
        friend bool operator==(const Line &, const Line &) = default;
    };

    QString id;
    qint64 created = 0;
    QString currency;
    std::optional<QString> subscription;
    QList<Line> lines;

    static BillingInvoice decode(JsonReader &reader);
    friend bool operator==(const BillingInvoice &, const BillingInvoice &) = default;
};
