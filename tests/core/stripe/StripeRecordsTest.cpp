// Decoding of the Stripe wire records and their derived values.
#include "stripe/StripeDecoding.h"
#include "stripe/StripeRecords.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

template<typename T>
T decodeOk(const QByteArray &body)
{
    auto result = StripeWire::decode<T>(body);
    if (!result) {
        ADD_FAILURE() << "decode failed: " << result.error().description().toStdString();
        return T{};
    }
    return result.value();
}

} // namespace

TEST(StripeRecords, NewShapeInvoiceTakesItsPaymentLinksFromThePaidPayment)
{
    // A top-level "subscription": null (as the basil fixture carries) must not hide the
    // parent's subscription; the failed attempt listed first must not win over the paid one.
    const QByteArray body = R"({
      "id": "in_1", "object": "invoice", "amount_paid": 9900, "amount_due": 9900, "currency": "gbp",
      "created": 1795120000, "subscription": null, "status": "paid",
      "parent": {"quote_details": null, "type": "subscription_details",
                 "subscription_details": {"metadata": {}, "subscription": {"id": "sub_9", "object": "subscription"}}},
      "payments": {"object": "list", "has_more": false, "data": [
        {"id": "inpay_a", "status": "canceled", "payment": {"type": "payment_intent", "payment_intent": "pi_failed"}},
        {"id": "inpay_b", "status": "paid", "payment": {"type": "payment_intent", "payment_intent": {"id": "pi_paid", "object": "payment_intent"}, "charge": "ch_paid"}}
      ]}
    })";
    const auto invoice = decodeOk<RawInvoice>(body);
    EXPECT_EQ(invoice.subscription, u"sub_9"_s);
    EXPECT_EQ(invoice.payment_intent, u"pi_paid"_s);
    EXPECT_EQ(invoice.charge, u"ch_paid"_s);
    EXPECT_EQ(invoice.paid, std::nullopt);
}

TEST(StripeRecords, DecodeFailuresNameTheKeyPath)
{
    struct Row
    {
        const char *name;
        QByteArray body;
        QString description;
    };
    const Row rows[] = {
        {"list without has_more", R"({"object":"list","data":[]})", u"Stripe decode error: key not found: has_more"_s},
        {"event without created", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded"},{"id":"evt_2","type":"charge.refunded"}],"has_more":false})",
         u"Stripe decode error: key not found: data[1].created"_s},
        {"amount as text", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":"usd","amount":"20.00"}}}],"has_more":false})",
         u"Stripe decode error: data[0].data.object.amount: expected an integer"_s},
        {"fractional amount", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":"usd","amount":20.5}}}],"has_more":false})",
         u"Stripe decode error: data[0].data.object.amount: expected an integer"_s},
        {"required currency null", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":null}}}],"has_more":false})",
         u"Stripe decode error: data[0].data.object.currency: expected a string, found null"_s},
        {"metadata value not text", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":"usd","metadata":{"plan":3}}}}],"has_more":false})",
         u"Stripe decode error: data[0].data.object.metadata.plan: expected a string"_s},
        {"expandable of wrong type", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":"usd","invoice":7}}}],"has_more":false})",
         u"Stripe decode error: data[0].data.object.invoice: expected an id or an object"_s},
        {"expanded object without id", R"({"data":[{"id":"evt_1","created":1,"type":"charge.refunded","data":{"object":{"id":"ch_1","currency":"usd","invoice":{"object":"invoice"}}}}],"has_more":false})",
         u"Stripe decode error: key not found: data[0].data.object.invoice.id"_s},
        {"element not an object", R"({"data":[7],"has_more":false})", u"Stripe decode error: data[0]: expected an object"_s},
        {"top level array", R"([1,2])", u"Stripe decode error: expected a JSON object at the top level"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto result = StripeWire::decode<RefundEventListResponse>(row.body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), StripeError::Kind::Decoding);
        EXPECT_EQ(result.error().description(), row.description);
    }
    const auto notJson = StripeWire::decode<RefundEventListResponse>("<html>502 Bad Gateway</html>");
    ASSERT_FALSE(notJson.ok());
    EXPECT_TRUE(notJson.error().description().startsWith(u"Stripe decode error: "_s));
}

namespace {

RawSubscription::SubscriptionItem item(std::optional<qint64> amount, std::optional<QString> interval = std::nullopt,
                                       std::optional<qint64> count = std::nullopt, bool withRecurring = true)
{
    RawSubscription::SubscriptionItem out;
    out.price = RawSubscription::SubscriptionPrice{};
    out.price->unit_amount = amount;
    if (withRecurring)
        out.price->recurring = RawSubscription::SubscriptionPrice::Recurring{std::move(interval), count};
    return out;
}

} // namespace

TEST(StripeRecords, ApproximateMonthlyAmount)
{
    using Items = RawSubscription::SubscriptionItems;
    RawSubscription::SubscriptionItem noPrice;
    struct Row
    {
        const char *name;
        std::optional<Items> items;
        QString currency;
        double monthly;
    };
    const Row rows[] = {
        {"12000 a year", Items{{item(12000, u"year"_s, 1)}}, u"usd"_s, 10.0},
        {"1000 a year truncates to 83 cents", Items{{item(1000, u"year"_s, 1)}}, u"usd"_s, 0.83},
        {"500 every 2 weeks", Items{{item(500, u"week"_s, 2)}}, u"usd"_s, 10.0},
        {"100 a day", Items{{item(100, u"day"_s, 1)}}, u"usd"_s, 30.0},
        {"999 every 3 months", Items{{item(999, u"month"_s, 3)}}, u"usd"_s, 3.33},
        {"no recurring is monthly", Items{{item(1500, std::nullopt, std::nullopt, false)}}, u"usd"_s, 15.0},
        {"interval without count", Items{{item(2400, u"year"_s, std::nullopt)}}, u"usd"_s, 2.0},
        {"unknown interval counts as month", Items{{item(700, u"fortnight"_s, 1)}}, u"usd"_s, 7.0},
        {"zero count", Items{{item(1200, u"year"_s, 0)}}, u"usd"_s, 12.0},
        {"month plus year", Items{{item(1000, u"month"_s, 1), item(1200, u"year"_s, 1)}}, u"usd"_s, 11.0},
        {"metered item adds nothing", Items{{item(1000, u"month"_s, 1), item(std::nullopt, u"month"_s, 1)}}, u"usd"_s, 10.0},
        {"item without price", Items{{noPrice, item(300)}}, u"usd"_s, 3.0},
        {"no items", Items{}, u"usd"_s, 0.0},
        {"items absent", std::nullopt, u"usd"_s, 0.0},
        {"JPY is zero-decimal", Items{{item(5000, u"month"_s, 1)}}, u"jpy"_s, 5000.0},
        {"KRW upper-case code", Items{{item(9900)}}, u"KRW"_s, 9900.0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        RawSubscription raw;
        raw.currency = row.currency;
        raw.items = row.items;
        EXPECT_DOUBLE_EQ(raw.approximateMonthlyAmount(), row.monthly);
        ExpandedSubscription expanded;
        expanded.currency = row.currency;
        expanded.items = row.items;
        EXPECT_DOUBLE_EQ(expanded.approximateMonthlyAmount(), row.monthly);
    }
}

TEST(StripeRecords, ResolvedDomain)
{
    struct Row
    {
        const char *name;
        QByteArray body;
        std::optional<QString> domain;
    };
    const Row rows[] = {
        {"business url", R"({"id":"acct_1","business_profile":{"url":"https://www.example.com","support_url":"https://help.example.com/contact"}})",
         u"www.example.com"_s},
        {"url with path and port", R"({"business_profile":{"url":"https://shop.example.org:8443/store?x=1"}})", u"shop.example.org"_s},
        {"url null, support url set", R"({"business_profile":{"url":null,"support_url":"https://example.dev/support"}})",
         u"example.dev"_s},
        {"url without host, support url set", R"({"business_profile":{"url":"example.com","support_url":"https://example.dev/support"}})",
         u"example.dev"_s},
        {"url that does not parse", R"({"business_profile":{"url":"http://exa mple.com","support_url":"https://help.example.net"}})",
         u"help.example.net"_s},
        {"neither", R"({"business_profile":{"url":null,"support_url":null,"name":null},"settings":{"dashboard":{"display_name":"Shop"}}})",
         std::nullopt},
        {"no business profile", R"({"id":"acct_1","display_name":"Shop"})", std::nullopt},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(decodeOk<StripeAccountInfo>(row.body).resolvedDomain(), row.domain);
    }
}

TEST(StripeRecords, MalformedJsonFailsWholeEvenWhereNothingIsRead)
{
    const QByteArray rows[] = {
        "",
        R"({"data":[],"has_more":fal)",
        R"({"data":[],"has_more":false,"livemode":"x)",
        R"({"data":[],"has_more":false,"total":01})",
        R"({"data" []})",
        R"({"data":[1,],"has_more":false})",
        R"({"data":[],"has_more":false} x)",
        R"({"data":[],"has_more":false,"outcome":{"type":"x")",
        QByteArray(R"({"data":[],"has_more":false,"x":)") + QByteArray(5000, '[') + QByteArray(5000, ']') + "}",
    };
    for (const QByteArray &body : rows) {
        SCOPED_TRACE(body.left(60).toStdString());
        const auto result = StripeWire::decode<ChargeListResponse>(body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), StripeError::Kind::Decoding);
        EXPECT_TRUE(result.error().description().startsWith(u"Stripe decode error: "_s));
    }
}
