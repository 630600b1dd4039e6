// Paging, per-query filtering and the results built from events of both API shapes.
#include "StripeClientFixture.h"

using namespace Qt::StringLiterals;
using StripeBodies::Shape;

namespace {

const Date since = Date::fromUnix(1'795'000'000);

QJsonObject patched(QJsonObject object, const QJsonObject &overrides, const QStringList &removed = {})
{
    for (auto it = overrides.begin(); it != overrides.end(); ++it)
        object.insert(it.key(), it.value());
    for (const QString &key : removed)
        object.remove(key);
    return object;
}

QJsonObject chargeObject(const QString &id, const QJsonObject &overrides = {}, const QStringList &removed = {})
{
    return patched(StripeBodies::charge({.id = id}, Shape::Legacy), overrides, removed);
}

// Serves /v1/charges as `pages` full pages of 100 charges, chained by starting_after.
FakeHttpServer::Handler chargePages(int pages)
{
    return [pages](const RecordedRequest &request) {
        const QString after = request.query(u"starting_after"_s);
        const int page = after.isEmpty() ? 0 : after.section(u'_', 1, 1).toInt() + 1;
        QJsonArray data;
        for (int i = 0; i < 100; ++i)
            data.append(chargeObject(u"ch_%1_%2"_s.arg(page).arg(i)));
        return FakeResponse::json(200, StripeBodies::page(data, page + 1 < pages, u"/v1/charges"_s));
    };
}

} // namespace

TEST_F(StripeClientTest, EventPagesAreFollowedWithTheLastIdAppendedLast)
{
    auto invoiceEvent = [](int n, Shape shape) {
        const QJsonObject invoice = StripeBodies::invoice({.id = u"in_%1"_s.arg(n), .created = 1'795'000'000 + n}, shape);
        const QString id = u"evt_%1"_s.arg(n);
        return StripeBodies::event(id, u"invoice.payment_succeeded"_s, 1'795'100'000 + n, invoice, shape);
    };
    server.enqueue("GET", "/v1/events",
                   FakeResponse::json(200, StripeBodies::page({invoiceEvent(1, Shape::Current), invoiceEvent(2, Shape::Legacy)}, true)));
    server.enqueue("GET", "/v1/events", FakeResponse::json(200, StripeBodies::page({invoiceEvent(3, Shape::Legacy)}, true)));
    server.enqueue("GET", "/v1/events", FakeResponse::json(200, StripeBodies::page({invoiceEvent(4, Shape::Current)}, false)));

    const auto result = run(client().fetchPaidInvoices(since));
    ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
    QStringList ids;
    for (const RawInvoice &invoice : result.value()) {
        ids.append(invoice.id);
        // The moment of payment is the event's, not the invoice's creation.
        EXPECT_EQ(invoice.created, 1'795'100'000 + invoice.id.mid(3).toInt());
        EXPECT_EQ(invoice.subscription, u"sub_1SQaPaB7WZ01zgkWcU7mBq2R"_s);
    }
    EXPECT_EQ(ids, (QStringList{u"in_1"_s, u"in_2"_s, u"in_3"_s, u"in_4"_s}));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 3);
    const QByteArray query = "type=invoice.payment_succeeded&limit=100&created%5Bgte%5D=1795000000";
    EXPECT_EQ(requests[0].rawQuery, query);
    EXPECT_EQ(requests[1].rawQuery, query + "&starting_after=evt_2");
    EXPECT_EQ(requests[2].rawQuery, query + "&starting_after=evt_3");
}

TEST_F(StripeClientTest, AnEmptyPageEndsPagingEvenWhenMoreIsClaimed)
{
    server.enqueue("GET", "/v1/subscriptions", FakeResponse::json(200, StripeBodies::page({}, true, u"/v1/subscriptions"_s)));
    const auto result = run(client().fetchSubscriptionsByStatus(u"unpaid"_s));
    ASSERT_TRUE(result.ok());
    EXPECT_TRUE(result->isEmpty());
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(StripeClientTest, HistoricalChargesStopAtFiftyPages)
{
    server.setHandler("GET", "/v1/charges", chargePages(60));
    const auto result = run(client().fetchSucceededChargesHistorical(since, std::nullopt));
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result->size(), 5000);
    EXPECT_EQ(server.requests().size(), 50);
    EXPECT_EQ(result->last().id, u"ch_49_99"_s);
    EXPECT_EQ(server.requests().last().query(u"starting_after"_s), u"ch_48_99"_s);
}

TEST_F(StripeClientTest, HistoricalChargesCheckCancellationBeforeEveryPage)
{
    CancellationToken cancelledUpFront;
    cancelledUpFront.cancel();
    server.setHandler("GET", "/v1/charges", chargePages(10));
    const auto none = run(client().fetchSucceededChargesHistorical(since, std::nullopt, cancelledUpFront));
    ASSERT_FALSE(none.ok());
    EXPECT_EQ(none.error().kind(), StripeError::Kind::Cancelled);
    EXPECT_TRUE(server.requests().isEmpty());

    // Cancelled while the second page is served: no third page is asked for, and the pages
    // already read are not returned (as with any page that fails).
    CancellationToken token;
    const auto pages = chargePages(10);
    server.setHandler("GET", "/v1/charges", [&](const RecordedRequest &request) {
        if (!request.query(u"starting_after"_s).isEmpty())
            token.cancel();
        return pages(request);
    });
    const auto midway = run(client().fetchSucceededChargesHistorical(since, std::nullopt, token));
    ASSERT_FALSE(midway.ok());
    EXPECT_EQ(midway.error().kind(), StripeError::Kind::Cancelled);
    EXPECT_EQ(midway.error().description(), u"Operation canceled"_s);
    EXPECT_EQ(server.requests().size(), 2);
}

TEST_F(StripeClientTest, HistoricalChargesKeepOnlySucceededPaidOnes)
{
    // name, overrides, keys removed, kept
    const std::tuple<const char *, QJsonObject, QStringList, bool> rows[] = {
        {"succeeded and paid", {}, {}, true},
        {"paid absent", {}, {u"paid"_s}, true},
        {"paid null", {{u"paid"_s, QJsonValue::Null}}, {}, true},
        {"paid false", {{u"paid"_s, false}}, {}, false},
        {"status absent", {}, {u"status"_s}, false},
        {"status null", {{u"status"_s, QJsonValue::Null}}, {}, false},
        {"status failed", {{u"status"_s, u"failed"_s}, {u"paid"_s, false}}, {}, false},
        {"status pending", {{u"status"_s, u"pending"_s}}, {}, false},
    };
    QJsonArray data;
    QStringList expected;
    for (const auto &[name, overrides, removed, keep] : rows) {
        const QString id = u"ch_"_s + QString::fromLatin1(name).replace(u' ', u'_');
        data.append(chargeObject(id, overrides, removed));
        if (keep)
            expected.append(id);
    }
    server.enqueue("GET", "/v1/charges", FakeResponse::json(200, StripeBodies::page(data, false, u"/v1/charges"_s)));
    const auto result = run(client().fetchSucceededChargesHistorical(since, std::nullopt));
    ASSERT_TRUE(result.ok());
    QStringList kept;
    for (const RawCharge &charge : result.value())
        kept.append(charge.id);
    EXPECT_EQ(kept, expected);
}

TEST_F(StripeClientTest, StandaloneChargesDropThoseThatPaidAnInvoice)
{
    auto chargeEvent = [](const QString &id, const QJsonObject &overrides, Shape shape = Shape::Legacy) {
        const QJsonObject charge =
            patched(StripeBodies::charge({.id = id, .paymentIntent = u"pi_"_s + id.mid(3)}, shape), overrides);
        return StripeBodies::event(u"evt_"_s + id, u"charge.succeeded"_s, 1'795'123'647, charge, shape);
    };
    const QJsonArray data{
        chargeEvent(u"ch_empty"_s, {{u"invoice"_s, u""_s}}),
        chargeEvent(u"ch_paid_invoice"_s, {{u"invoice"_s, u"in_1"_s}}),
        chargeEvent(u"ch_null"_s, {{u"invoice"_s, QJsonValue::Null}}),
        chargeEvent(u"ch_expanded_invoice"_s, {{u"invoice"_s, QJsonObject{{u"id"_s, u"in_2"_s}, {u"object"_s, u"invoice"_s}}}}),
        chargeEvent(u"ch_basil"_s, {}, Shape::Current),
        QJsonObject{{u"id"_s, u"evt_no_data"_s}, {u"created"_s, 1'795'123'648}, {u"type"_s, u"charge.succeeded"_s}},
    };
    server.enqueue("GET", "/v1/events", FakeResponse::json(200, StripeBodies::page(data, false)));
    const auto result = run(client().fetchStandaloneCharges(since));
    ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
    QStringList ids;
    for (const SucceededChargeEvent &event : result.value()) {
        ids.append(event.charge.id);
        EXPECT_EQ(event.eventId, u"evt_"_s + event.charge.id);
        EXPECT_EQ(event.succeededAt, Date::fromUnix(1'795'123'647));
    }
    // The basil charge has no invoice key at all; it stays for the engine to link through
    // its payment intent.
    EXPECT_EQ(ids, (QStringList{u"ch_empty"_s, u"ch_null"_s, u"ch_basil"_s}));
    EXPECT_EQ(result->last().charge.payment_intent, u"pi_basil"_s);
}

TEST_F(StripeClientTest, EventResultsTakeTheEventsIdAndTime)
{
    const StripeBodies::SubscriptionFields sub{.canceledAt = 1'795'000'000};
    const StripeBodies::InvoiceFields unpaid{.id = u"in_failed"_s, .amountPaid = 0, .currency = u"gbp"_s,
                                             .amountDue = 9900};
    const StripeBodies::ChargeFields refunded{.id = u"ch_refunded"_s, .amount = 4900, .amountRefunded = 1500};
    server.setHandler("GET", "/v1/events", [&](const RecordedRequest &request) {
        const QString type = request.query(u"type"_s);
        QJsonArray data;
        for (const int n : {1, 2}) {
            const Shape shape = n == 1 ? Shape::Legacy : Shape::Current;
            const auto [tag, object] =
                type == u"customer.subscription.deleted" ? std::pair(u"del"_s, StripeBodies::subscription(sub, shape))
                : type == u"invoice.payment_failed"      ? std::pair(u"fail"_s, StripeBodies::invoice(unpaid, shape))
                                                         : std::pair(u"ref"_s, StripeBodies::charge(refunded, shape));
            const QString id = u"evt_%1_%2"_s.arg(tag).arg(n);
            data.append(StripeBodies::event(id, type, 1'795'200'000 + n, object, shape));
        }
        return FakeResponse::json(200, StripeBodies::page(data, false));
    });

    const auto cancellations = run(client().fetchSubscriptionCancellations(since));
    ASSERT_TRUE(cancellations.ok());
    ASSERT_EQ(cancellations->size(), 2);
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE(i);
        const SubscriptionCancellation &c = cancellations->at(i);
        EXPECT_EQ(c.eventId, u"evt_del_%1"_s.arg(i + 1));
        EXPECT_EQ(c.canceledAt, Date::fromUnix(1'795'200'001 + i)); // not the subscription's canceled_at
        EXPECT_EQ(c.subscription.canceled_at, 1'795'000'000);
        EXPECT_EQ(c.subscription.current_period_end, 1'795'000'000 + 86'400 * 30);
        EXPECT_DOUBLE_EQ(c.subscription.approximateMonthlyAmount(), 10.0);
    }
    // Both shapes decode to the same prices; only the new one also has a period per item.
    EXPECT_EQ(cancellations->at(0).subscription.items->data[0].price, cancellations->at(1).subscription.items->data[0].price);

    const auto failed = run(client().fetchFailedPayments(since));
    ASSERT_TRUE(failed.ok());
    ASSERT_EQ(failed->size(), 2);
    EXPECT_EQ(failed->at(0).eventId, u"evt_fail_1"_s);
    EXPECT_EQ(failed->at(1).failedAt, Date::fromUnix(1'795'200'002));
    EXPECT_EQ(failed->at(1).invoice.amount_due, 9900);
    EXPECT_EQ(failed->at(1).invoice.subscription, failed->at(0).invoice.subscription);

    const auto refunds = run(client().fetchRefunds(since));
    ASSERT_TRUE(refunds.ok());
    ASSERT_EQ(refunds->size(), 2);
    EXPECT_EQ(refunds->at(0).refundedAt, Date::fromUnix(1'795'200'001));
    EXPECT_EQ(refunds->at(1).charge.amount_refunded, 1500);
    EXPECT_EQ(refunds->at(0).charge.amount_refunded, refunds->at(1).charge.amount_refunded);
}

TEST_F(StripeClientTest, InvoicePaymentsNameWhatPaidEachInvoice)
{
    server.enqueue("GET", "/v1/invoice_payments", FakeResponse::json(200, R"({"object":"list","has_more":false,"data":[
        {"id":"inpay_1","object":"invoice_payment","amount_paid":2000,"currency":"usd","invoice":"in_1","is_default":true,
         "payment":{"type":"payment_intent","payment_intent":"pi_1"},"status":"paid"},
        {"id":"inpay_2","invoice":{"id":"in_2","object":"invoice"},"payment":{"type":"charge","charge":{"id":"ch_2"}},
         "status":"paid"}],"url":"/v1/invoice_payments"})"));
    const auto result = run(client().fetchPaidInvoicePayments(Date::fromUnix(1'700'000'000)));
    ASSERT_TRUE(result.ok()) << result.error().description().toStdString();
    ASSERT_EQ(result.value().size(), 2);
    EXPECT_EQ(result.value()[0], (RawInvoicePayment{u"inpay_1"_s, u"in_1"_s, u"paid"_s, u"pi_1"_s, std::nullopt}));
    EXPECT_EQ(result.value()[1], (RawInvoicePayment{u"inpay_2"_s, u"in_2"_s, u"paid"_s, std::nullopt, u"ch_2"_s}));
}
