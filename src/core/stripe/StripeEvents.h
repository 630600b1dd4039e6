#pragma once

#include "StripeJson.h"
#include "StripePayments.h"
#include "StripeSubscriptions.h"
#include "util/Date.h"

// Events as GET /v1/events lists them, the list pages of every list query, and the result
// records the event queries build from them.

template<typename T>
struct EventData
{
    std::optional<T> object;
    friend bool operator==(const EventData &, const EventData &) = default;
};

// One event carrying an object of type T. Only some event records require `type`.
template<typename T, bool TypeRequired>
struct StripeEventRecord
{
    QString id;
    qint64 created = 0; // Unix seconds at which Stripe created the event
    QString type;
    std::optional<EventData<T>> data;

    static StripeEventRecord decode(JsonReader &reader)
    {
        using namespace Qt::StringLiterals;
        StripeEventRecord event;
        event.created = reader.integer("created"_L1);
        if (auto data = reader.optNested("data"_L1))
            event.data.emplace().object = StripeJson::optObjectOf<T>(*data, "object"_L1);
        event.id = reader.string("id"_L1);
        if constexpr (TypeRequired)
            event.type = reader.recurringString("type"_L1);
        else
            event.type = reader.optRecurringString("type"_L1).value_or(QString());
        return event;
    }
    friend bool operator==(const StripeEventRecord &, const StripeEventRecord &) = default;
};

using PaidInvoiceEvent = StripeEventRecord<RawInvoice, false>;
using FailedRawEvent = StripeEventRecord<RawInvoice, true>;
using RefundRawEvent = StripeEventRecord<RawCharge, true>;
using SucceededChargeRawEvent = StripeEventRecord<RawCharge, false>;
using RawEvent = StripeEventRecord<RawSubscription, true>;

// One page of a list. A record that does not decode is left out and counted rather than
// failing the page: the rest is still good. A body that is not JSON, or has no `data` list,
// fails as a whole.
template<typename T>
struct ListResponse
{
    QList<T> data;
    bool has_more = false;
    qsizetype skipped = 0; // records left out because they did not decode
    // The id of the page's last record that has one, decoded or not: where the next page starts.
    std::optional<QString> lastId;

    static ListResponse decode(JsonReader &reader)
    {
        using namespace Qt::StringLiterals;
        ListResponse page;
        page.data.reserve(reader.arraySize("data"_L1));
        std::optional<QString> skippedId; // of a skipped record after the last decoded one
        reader.forEachObjectSkippingBad(
            "data"_L1, true,
            [&page, &skippedId](JsonReader &element) {
                T record = T::decode(element);
                if (element.failed())
                    return;
                page.data.append(std::move(record));
                skippedId.reset();
            },
            [&page, &skippedId](JsonReader *element) {
                ++page.skipped;
                auto id = element ? element->optString("id"_L1) : std::nullopt;
                if (id && !id->isEmpty())
                    skippedId = std::move(id);
            });
        page.has_more = reader.boolean("has_more"_L1);
        if (skippedId)
            page.lastId = std::move(skippedId);
        else if (!page.data.isEmpty())
            page.lastId = page.data.last().id;
        return page;
    }
    qsizetype records() const { return data.size() + skipped; }
    friend bool operator==(const ListResponse &, const ListResponse &) = default;
};

using PaidInvoiceEventListResponse = ListResponse<PaidInvoiceEvent>;
using FailedEventListResponse = ListResponse<FailedRawEvent>;
using RefundEventListResponse = ListResponse<RefundRawEvent>;
using SucceededChargeListResponse = ListResponse<SucceededChargeRawEvent>;
using EventListResponse = ListResponse<RawEvent>;
using ChargeListResponse = ListResponse<RawCharge>;
using ExpandedSubscriptionListResponse = ListResponse<ExpandedSubscription>;
using InvoicePaymentListResponse = ListResponse<RawInvoicePayment>;

struct FailedPaymentEvent
{
    QString eventId;
    Date failedAt; // the event's creation
    RawInvoice invoice;
    friend bool operator==(const FailedPaymentEvent &, const FailedPaymentEvent &) = default;
};

struct RefundEvent
{
    QString eventId;
    Date refundedAt;
    RawCharge charge;
    friend bool operator==(const RefundEvent &, const RefundEvent &) = default;
};

struct SubscriptionCancellation
{
    QString eventId;
    Date canceledAt; // the event's creation, not the subscription's canceled_at
    RawSubscription subscription;
    friend bool operator==(const SubscriptionCancellation &, const SubscriptionCancellation &) = default;
};

struct SucceededChargeEvent
{
    QString eventId;
    Date succeededAt;
    RawCharge charge;
    friend bool operator==(const SucceededChargeEvent &, const SucceededChargeEvent &) = default;
};
