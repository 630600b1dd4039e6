#pragma once

#include "json/JsonReader.h"

#include <QList>
#include <QString>
#include <optional>

// Subscriptions as Stripe sends them: plain inside events, and with customer and latest
// invoice expanded when listed by status.

struct RawSubscription
{
    struct SubscriptionPrice
    {
        struct Recurring
        {
            std::optional<QString> interval; // "day", "week", "month", "year"
            std::optional<qint64> interval_count;
            static Recurring decode(JsonReader &reader);
            friend bool operator==(const Recurring &, const Recurring &) = default;
        };

        std::optional<qint64> unit_amount; // minor units per interval; null on metered and tiered prices
        std::optional<Recurring> recurring;
        std::optional<QString> nickname;
        static SubscriptionPrice decode(JsonReader &reader);
        friend bool operator==(const SubscriptionPrice &, const SubscriptionPrice &) = default;
    };
    struct SubscriptionItem
    {
        std::optional<SubscriptionPrice> price;
        std::optional<qint64> current_period_end; // new shape keeps the period per item
        std::optional<qint64> quantity;           // seats; absent counts as one
        static SubscriptionItem decode(JsonReader &reader);
        friend bool operator==(const SubscriptionItem &, const SubscriptionItem &) = default;
    };
    struct SubscriptionItems
    {
        QList<SubscriptionItem> data;
        static SubscriptionItems decode(JsonReader &reader);
        friend bool operator==(const SubscriptionItems &, const SubscriptionItems &) = default;
    };

    QString id;
    std::optional<qint64> canceled_at;
    // Top-level in the old shape; the first item's in the new one.
    std::optional<qint64> current_period_end;
    QString currency;
    std::optional<SubscriptionItems> items;
    std::optional<QString> customer; // the id, also when Stripe sent the object

    // Monthly-equivalent price in major units of `currency`.
    double approximateMonthlyAmount() const;

    static RawSubscription decode(JsonReader &reader);
    friend bool operator==(const RawSubscription &, const RawSubscription &) = default;
};

struct ExpandedSubscription
{
    using SubscriptionItems = RawSubscription::SubscriptionItems;
    using SubscriptionItem = RawSubscription::SubscriptionItem;
    using SubscriptionPrice = RawSubscription::SubscriptionPrice;

    struct SubCustomer
    {
        // A deleted customer comes as {"id", "object", "deleted": true}; a customer that was
        // not expanded as its id alone.
        std::optional<QString> id;
        std::optional<QString> email;
        std::optional<QString> name;
        static SubCustomer decode(JsonReader &reader);
        friend bool operator==(const SubCustomer &, const SubCustomer &) = default;
    };
    // The charge of an invoice's last payment attempt, expanded on request.
    struct LatestCharge
    {
        std::optional<QString> id;
        std::optional<qint64> created;
        static LatestCharge decode(JsonReader &reader);
        friend bool operator==(const LatestCharge &, const LatestCharge &) = default;
    };
    struct LatestInvoice
    {
        std::optional<QString> id;
        std::optional<QString> status;
        std::optional<qint64> amount_due;
        std::optional<qint64> next_payment_attempt; // Unix seconds of Stripe's next automatic retry
        std::optional<qint64> created;
        std::optional<qint64> due_date; // invoices sent for payment only
        std::optional<LatestCharge> charge;
        static LatestInvoice decode(JsonReader &reader);
        friend bool operator==(const LatestInvoice &, const LatestInvoice &) = default;
    };
    struct CancellationDetails
    {
        std::optional<QString> reason;
        static CancellationDetails decode(JsonReader &reader);
        friend bool operator==(const CancellationDetails &, const CancellationDetails &) = default;
    };

    QString id;
    std::optional<QString> status;
    std::optional<qint64> created;
    std::optional<qint64> canceled_at;
    std::optional<qint64> ended_at;
    std::optional<qint64> current_period_end; // top-level, else the first item's
    QString currency;
    std::optional<SubCustomer> customer;
    std::optional<SubscriptionItems> items;
    std::optional<LatestInvoice> latest_invoice;
    std::optional<CancellationDetails> cancellation_details;

    double approximateMonthlyAmount() const;
    // The first item's price nickname, or "Subscription".
    QString planLabel() const;

    static ExpandedSubscription decode(JsonReader &reader);
    friend bool operator==(const ExpandedSubscription &, const ExpandedSubscription &) = default;
};

// The monthly-equivalent of the items in whole minor units: each item's interval price
// times its quantity, scaled to a month (a week is 4, a day 30) and truncated before it is
// summed. Items without a unit amount (metered, tiered) count nothing.
qint64 monthlyMinorUnits(const std::optional<RawSubscription::SubscriptionItems> &items);
// The same in major units of `currency` (zero-decimal currencies are whole units).
double approximateMonthlyAmount(const std::optional<RawSubscription::SubscriptionItems> &items, QStringView currency);
