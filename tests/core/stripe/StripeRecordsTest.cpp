// Decoding of the Stripe wire records and their derived values.
#include "paypal/PayPalRecords.h"
#include "stripe/StripeDecoding.h"
#include "stripe/StripeRecords.h"
#include "mrr/MrrSource.h"

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

TEST(StripeRecords, ABadRecordIsSkippedAndCountedTheRestOfThePageUsed)
{
    // Pages of Stripe events or PayPal transactions: a good record, the row's bad one, a good one.
    const auto stripeEvent = [](const char *id, const char *object) -> QByteArray {
        return QByteArray(R"({"id":")") + id + R"(","created":1,"type":"charge.refunded","data":{"object":)" + object + "}}";
    };
    const auto stripePage = [&](const QByteArray &bad) -> QByteArray {
        return "{\"data\":[" + stripeEvent("evt_1", R"({"id":"ch_1","currency":"usd","amount":100})") + ',' + bad + ','
            + stripeEvent("evt_3", R"({"id":"ch_3","currency":"usd","amount":300})") + R"(],"has_more":false})";
    };
    const auto paypalPage = [](const QByteArray &bad) -> QByteArray {
        const auto row = [](const char *id) -> QByteArray {
            return QByteArray(R"({"transaction_info":{"transaction_id":")") + id
                + R"(","transaction_amount":{"currency_code":"USD","value":"5.00"}}})";
        };
        return "{\"transaction_details\":[" + row("PP1") + ',' + bad + ',' + row("PP3") + "]}";
    };
    // name, a PayPal page (else a Stripe one), the bad record
    const std::tuple<const char *, bool, QByteArray> rows[] = {
        {"amount as text", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","amount":"20.00"})")},
        {"fractional amount", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","amount":20.5})")},
        {"absurd amount", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","amount":10000000000000})")},
        {"event without id", false, R"({"created":1,"type":"charge.refunded"})"},
        {"event without created", false, R"({"id":"evt_2","type":"charge.refunded"})"},
        {"currency null", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":null})")},
        {"metadata value not text", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","metadata":{"plan":3}})")},
        {"expandable of wrong type", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","invoice":7})")},
        {"expanded object without id", false, stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","invoice":{}})")},
        {"object of unknown shape", false, stripeEvent("evt_2", "[1]")},
        {"element not an object", false, "7"},
        {"transaction info missing", true, R"({"payer_info":{}})"},
        {"transaction info of wrong type", true, R"({"transaction_info":"T0006"})"},
        {"amount value not text", true, R"({"transaction_info":{"transaction_amount":{"currency_code":"USD","value":5}}})"},
        {"absurd PayPal amount", true,
         R"({"transaction_info":{"transaction_amount":{"currency_code":"USD","value":"2000000000000.00"}}})"},
        {"PayPal element not an object", true, "null"},
    };
    for (const auto &[name, paypal, bad] : rows) {
        SCOPED_TRACE(name);
        QStringList kept;
        qsizetype skipped = -1;
        if (paypal) {
            const auto page = decodeJsonObject(paypalPage(bad), [](JsonReader &r) { return PPListResp::decode(r); });
            ASSERT_TRUE(page.ok()) << page.error().toStdString();
            for (const PPTransaction &t : page->transaction_details.value_or(QList<PPTransaction>{}))
                kept.append(t.transaction_info.transaction_id.value_or(QString()));
            skipped = page->skipped;
        } else {
            const auto page = StripeWire::decode<RefundEventListResponse>(stripePage(bad));
            ASSERT_TRUE(page.ok()) << page.error().description().toStdString();
            for (const RefundRawEvent &event : page->data)
                kept.append(event.id);
            skipped = page->skipped;
            EXPECT_EQ(page->lastId, u"evt_3"_s);
        }
        EXPECT_EQ(kept, (paypal ? QStringList{u"PP1"_s, u"PP3"_s} : QStringList{u"evt_1"_s, u"evt_3"_s}));
        EXPECT_EQ(skipped, 1);
    }

    // The next page starts after the last record, even one that was skipped.
    const auto lastBad = StripeWire::decode<RefundEventListResponse>(
        "{\"data\":[" + stripeEvent("evt_1", R"({"id":"ch_1","currency":"usd"})") + ","
        + stripeEvent("evt_2", R"({"id":"ch_2","currency":"usd","amount":true})") + R"(],"has_more":true})");
    ASSERT_TRUE(lastBad.ok());
    EXPECT_EQ(lastBad->lastId, u"evt_2"_s);
}

TEST(StripeRecords, APageThatIsNotAListFailsWhole)
{
    const std::pair<QByteArray, QString> rows[] = {
        {R"({"object":"list","has_more":false})", u"Stripe decode error: key not found: data"_s},
        {R"({"data":{},"has_more":false})", u"Stripe decode error: data: expected an array"_s},
        {R"({"object":"list","data":[]})", u"Stripe decode error: key not found: has_more"_s},
        {R"([1,2])", u"Stripe decode error: expected a JSON object at the top level"_s},
        {"<html>502 Bad Gateway</html>", u"Stripe decode error: "_s}, // then the parser's own words
    };
    for (const auto &[body, description] : rows) {
        SCOPED_TRACE(body.toStdString());
        const auto result = StripeWire::decode<RefundEventListResponse>(body);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().kind(), StripeError::Kind::Decoding);
        const bool parserWords = description.endsWith(u' ');
        EXPECT_EQ(parserWords ? result.error().description().left(description.size()) : result.error().description(),
                  description);
    }
    const auto paypal = decodeJsonObject(QByteArray(R"({"transaction_details":{}})"),
                                         [](JsonReader &r) { return PPListResp::decode(r); });
    ASSERT_FALSE(paypal.ok());
    EXPECT_EQ(paypal.error(), u"transaction_details: expected an array"_s);
}

namespace {

using Price = RawSubscription::SubscriptionPrice;

RawSubscription::SubscriptionItem item(std::optional<qint64> amount, std::optional<QString> interval = std::nullopt,
                                       std::optional<qint64> count = std::nullopt, bool withRecurring = true)
{
    const auto recurring = withRecurring ? std::optional(Price::Recurring{std::move(interval), count}) : std::nullopt;
    return {.price = Price{.unit_amount = amount, .recurring = recurring}};
}

} // namespace

TEST(StripeRecords, ApproximateMonthlyAmount)
{
    using Items = RawSubscription::SubscriptionItems;
    const RawSubscription::SubscriptionItem noPrice;
    const auto seats = [](RawSubscription::SubscriptionItem i, qint64 quantity) { return i.quantity = quantity, i; };
    // name, items, currency, monthly amount
    const std::tuple<const char *, std::optional<Items>, QString, double> rows[] = {
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
        {"ten seats at 1000 a month", Items{{seats(item(1000, u"month"_s, 1), 10)}}, u"usd"_s, 100.0},
        {"ten seats at 1000 a year: 10000 truncates to 833", Items{{seats(item(1000, u"year"_s, 1), 10)}}, u"usd"_s, 8.33},
        {"no seats", Items{{seats(item(1000), 0)}}, u"usd"_s, 0.0},
    };
    for (const auto &[name, items, currency, monthly] : rows)
        EXPECT_DOUBLE_EQ(approximateMonthlyAmount(items, currency), monthly) << name;
}

TEST(StripeRecords, ResolvedDomain)
{
    const std::tuple<const char *, QByteArray, std::optional<QString>> rows[] = {
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
    for (const auto &[name, body, domain] : rows)
        EXPECT_EQ(decodeOk<StripeAccountInfo>(body).resolvedDomain(), domain) << name;
}

TEST(StripeRecords, MalformedJsonFailsWholeEvenWhereNothingIsRead)
{
    const QByteArray rows[] = {
        "", R"({"data":[],"has_more":fal)", R"({"data":[],"has_more":false,"livemode":"x)",
        R"({"data":[],"has_more":false,"total":01})", R"({"data" []})", R"({"data":[1,],"has_more":false})",
        R"({"data":[],"has_more":false} x)", R"({"data":[],"has_more":false,"outcome":{"type":"x")",
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

// The MRR inputs in both shapes: the old one's top-level subscription and coupon, the new
// one's parent details and the coupon under the discount's source.
TEST(StripeRecords, BillingRecordsInBothShapes)
{
    const auto subscription = decodeOk<BillingSubscription>(R"({
      "id": "sub_1", "object": "subscription", "created": 1790000000, "currency": "EUR",
      "customer": {"id": "cus_1", "object": "customer", "email": "a@example.com", "name": ""},
      "discount": {"id": "di_old", "coupon": {"id": "co_1", "amount_off": null, "duration": "forever", "percent_off": 10}},
      "discounts": [{"id": "di_new", "end": 1795000000, "source": {"coupon": {"id": "co_2", "amount_off": 500,
                     "currency": "eur", "duration": "repeating", "percent_off": null}, "type": "coupon"}}, "di_id_only"],
      "ended_at": null, "items": {"data": [{"id": "si_1", "price": {"id": "pr_1", "recurring": {"interval": "year",
        "interval_count": 1, "usage_type": "metered"}, "unit_amount": null}, "quantity": 3}]},
      "start_date": 1790000000, "status": "trialing", "trial_end": 1791000000})");
    const auto basil = decodeOk<BillingInvoice>(R"({
      "id": "in_new", "object": "invoice", "created": 1792000000, "currency": "eur", "subscription": null,
      "lines": {"data": [
        {"id": "il_1", "amount": 12000, "discount_amounts": [{"amount": 500, "discount": "di_new"}],
         "parent": {"subscription_item_details": {"proration": false, "subscription": "sub_1", "subscription_item": "si_1"},
                    "type": "subscription_item_details"},
         "period": {"end": 1823536000, "start": 1792000000}},
        {"id": "il_2", "amount": 700, "parent": {"subscription_item_details": {"proration": true,
         "subscription": "sub_1", "subscription_item": "si_1"}}, "period": {"end": 1793000000, "start": 1792000000}}]},
      "parent": {"subscription_details": {"subscription": {"id": "sub_1", "object": "subscription"}}}})");
    const auto acacia = decodeOk<BillingInvoice>(R"({
      "id": "in_old", "object": "invoice", "created": 1791000000, "currency": "eur",
      "lines": {"data": [{"id": "il_3", "amount": 9000, "period": {"end": 1792000000, "start": 1791000000},
        "proration": false, "subscription": "sub_1", "subscription_item": "si_1", "type": "subscription"}]},
      "subscription": "sub_1"})");

    const MrrListing listing = MrrSource::fromStripe({subscription}, {basil, acacia}, {});
    ASSERT_EQ(listing.subscriptions.size(), 1);
    const MrrSubscription &s = listing.subscriptions[0];
    EXPECT_EQ(s.customerName, u"a@example.com"_s);
    EXPECT_EQ(s.currency, u"eur"_s);
    EXPECT_EQ(s.trialEnd, Date::fromUnix(1791000000));
    ASSERT_EQ(s.discounts.size(), 1); // the expanded list wins over the old single discount
    EXPECT_EQ(s.discounts[0], (MrrDiscount{0, 500, MrrDiscount::Duration::Repeating, Date::fromUnix(1795000000)}));
    ASSERT_EQ(s.items.size(), 1);
    EXPECT_TRUE(s.items[0].metered);
    EXPECT_EQ(s.items[0].lastPaidAmount, 11500); // the latest paid period, less its discount
    const QList<MrrInvoiceLine> lines = listing.lines.value(u"sub_1"_s);
    ASSERT_EQ(lines.size(), 2); // the proration left out
    EXPECT_EQ(lines[0].amount, 11500);
    EXPECT_EQ(lines[0].interval, u"year"_s); // from the subscription's price
    EXPECT_EQ(lines[1].amount, 9000);
}
