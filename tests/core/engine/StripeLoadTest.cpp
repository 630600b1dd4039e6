// One Stripe account's load: which queries run, which kinds load, and how partial failures are reported.
#include "EngineFixture.h"

using namespace Qt::StringLiterals;
using namespace StripeBodies;

class StripeLoadTest : public EngineFixture
{
protected:
    // Placeholders in the name must reach the texts untouched.
    Account acct = stripeAccount(u"Acme %1 & %3 Co"_s);
    QHash<QString, FakeResponse> byType; // event type → answer; missing types get an empty page

    void SetUp() override
    {
        stripe.setHandler("GET", "/v1/events", [this](const RecordedRequest &r) {
            return byType.value(r.query(u"type"_s), FakeResponse::json(200, page({}, false)));
        });
    }

    // The last day's load by a new engine, with `prefs` stored first if given.
    auto loadLastDay(const std::optional<Preferences> &prefs = std::nullopt)
    {
        if (prefs)
            EXPECT_TRUE(storage().savePreferences(*prefs));
        return QCoro::waitFor(start().loadFromStripe(acct, clock->now().addingSeconds(-86400)));
    }

    QStringList requestedTypes() const
    {
        QStringList types;
        for (const RecordedRequest &r : stripe.requestsTo("/v1/events"))
            types.append(r.query(u"type"_s));
        types.sort();
        return types;
    }
};

TEST_F(StripeLoadTest, PreferencesDecideQueriesAndKinds)
{
    const QJsonObject first = paidInvoice(
        u"evt_i"_s, 1'773'140'000, {.id = u"in_first"_s, .billingReason = u"subscription_create"_s, .charge = u"ch_1"_s},
        Shape::Legacy);
    byType.insert(u"invoice.payment_succeeded"_s, FakeResponse::json(200, page({first}, false)));
    const QStringList base{u"charge.succeeded"_s, u"customer.subscription.deleted"_s, u"invoice.payment_succeeded"_s};
    const struct { const char *name; bool showNew, showFailed, showRefunds; QStringList types; QSet<RevenueKind> kinds;
        qsizetype events; } rows[] = {
        {"defaults", true, true, false, base + QStringList{u"invoice.payment_failed"_s},
         {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Churn, RevenueKind::Failed}, 1},
        {"new subscriptions hidden", false, false, false, base,
         {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Churn}, 0},
        {"refunds shown", true, false, true, base + QStringList{u"charge.refunded"_s},
         {RevenueKind::New, RevenueKind::Recurring, RevenueKind::Churn, RevenueKind::Refund}, 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        stripe.clearRecords();
        Preferences p = Preferences::defaults(clock->now(), calendar);
        p.showNewSubscriptions = row.showNew;
        p.showFailed = row.showFailed;
        p.showRefunds = row.showRefunds;
        const auto load = loadLastDay(p);
        ASSERT_TRUE(load.ok()) << load.error().toStdString();
        QStringList expectedTypes = row.types;
        expectedTypes.sort();
        EXPECT_EQ(requestedTypes(), expectedTypes);
        EXPECT_EQ(load.value().loadedKinds, row.kinds);
        EXPECT_EQ(load.value().events.size(), row.events);
    }
}

TEST_F(StripeLoadTest, PartialFailuresAreReportedAsDefined)
{
    const QByteArray longBody = QByteArray(300, 'x');
    const struct { const char *name; QString failingType; FakeResponse answer; bool loadFails, scopeMissing;
        QString lastErrorPrefix; std::optional<RevenueKind> missingKind; } rows[] = {
        {"invoices fail the load", u"invoice.payment_succeeded"_s, FakeResponse::json(500, "oops"), true, false, {}, std::nullopt},
        {"charges failing otherwise", u"charge.succeeded"_s, FakeResponse::json(500, "oops"), false, false,
         u"[Acme %1 & %3 Co] charges fetch HTTP 500: oops"_s, std::nullopt},
        {"charges without the events scope", u"charge.succeeded"_s, FakeResponse::json(403, "{}"), false, true, {}, std::nullopt},
        {"cancellations without the events scope", u"customer.subscription.deleted"_s,
         FakeResponse::json(403, error(u"invalid_request_error"_s, {}, u"The provided key does not have the required permissions"_s)),
         false, true, {}, RevenueKind::Churn},
        {"cancellations failing otherwise", u"customer.subscription.deleted"_s, FakeResponse::json(500, longBody), false, false,
         u"[Acme %1 & %3 Co] churn fetch HTTP 500: "_s + QString(140, u'x'), RevenueKind::Churn},
        {"cancellations dropped", u"customer.subscription.deleted"_s, FakeResponse::drop(), false, false,
         u"[Acme %1 & %3 Co] churn fetch: "_s, RevenueKind::Churn},
        {"failed payments without scope", u"invoice.payment_failed"_s, FakeResponse::json(401, "{}"), false, true, {},
         RevenueKind::Failed},
        {"failed payments failing otherwise", u"invoice.payment_failed"_s, FakeResponse::json(502, "{}"), false, false, {},
         RevenueKind::Failed},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        byType.clear();
        byType.insert(row.failingType, row.answer);
        const auto load = loadLastDay();
        EXPECT_EQ(!load.ok(), row.loadFails);
        if (row.loadFails) {
            EXPECT_EQ(load.error(), u"Stripe HTTP 500: oops"_s);
            continue;
        }
        EXPECT_EQ(engine->missingEventScopeAccounts().contains(acct.id), row.scopeMissing);
        if (row.lastErrorPrefix.isEmpty()) {
            EXPECT_FALSE(engine->lastError().has_value());
        } else {
            ASSERT_TRUE(engine->lastError().has_value());
            EXPECT_TRUE(engine->lastError()->startsWith(row.lastErrorPrefix)) << engine->lastError()->toStdString();
            if (row.answer.status == 500)
                EXPECT_EQ(*engine->lastError(), row.lastErrorPrefix) << "only the first 140 characters of the body";
        }
        if (row.missingKind)
            EXPECT_FALSE(load.value().loadedKinds.contains(*row.missingKind));
    }
}

TEST_F(StripeLoadTest, ZeroAndTwoDecimalCurrenciesSideBySideInTotals)
{
    // A zero-amount stand-alone charge (a trial, a card check) is no sale.
    byType.insert(u"charge.succeeded"_s, FakeResponse::json(200, page({succeededCharge(
                      u"evt_c"_s, 1'773'140'050, {.id = u"ch_zero"_s, .amount = 0}, Shape::Legacy)}, false)));
    const QJsonArray invoices{
        paidInvoice(u"evt_y"_s, 1'773'140'000, {.id = u"in_y"_s, .amountPaid = 5000, .currency = u"jpy"_s}, Shape::Legacy),
        paidInvoice(u"evt_e"_s, 1'773'140'100, {.id = u"in_e"_s, .amountPaid = 5000, .currency = u"eur"_s}, Shape::Current)};
    byType.insert(u"invoice.payment_succeeded"_s, FakeResponse::json(200, page(invoices, false)));
    ASSERT_TRUE(storage().saveAccounts({acct}));
    RevenueEngine &e = start();
    QCoro::waitFor(e.refresh());
    ASSERT_EQ(e.feed().size(), 2);
    EXPECT_DOUBLE_EQ(e.totals(TimeRange::Mtd).recurringMRR, 5000 * 0.0064 + 50 * 1.08);
}

TEST_F(StripeLoadTest, ChargesCountAsSalesUnlessStripeLinksThemToAnInvoice)
{
    const auto paid = [](const QString &id, const ChargeFields &byCharge) {
        return paidInvoice(u"evt_"_s + id, byCharge.created + 5,
                           {.id = id, .amountPaid = byCharge.amount, .created = byCharge.created,
                            .customer = byCharge.customer},
                           Shape::Current);
    };
    const auto inpay = [](const QString &invoiceId, const QString &type, const QString &paidBy) {
        return QJsonObject{{"id"_L1, QString(u"inpay_"_s + paidBy)}, {"invoice"_L1, invoiceId}, {"status"_L1, "paid"_L1},
                           {"payment"_L1, QJsonObject{{"type"_L1, type}, {type, paidBy}}}};
    };
    // How Stripe names what paid an invoice: the payment intent, the charge (no intent), or the
    // intent on a record older than the listing reaches, found by asking for the intent.
    enum Link { Intent, Charge, Late };
    const ChargeFields invoiced{.id = u"ch_inv"_s, .amount = 4900, .created = 1'773'140'000, .customer = u"cus_a"_s,
                                .paymentIntent = u"pi_inv"_s};
    ChargeFields upsell = invoiced;
    upsell.id = u"ch_seat"_s, upsell.paymentIntent = u"pi_seat"_s, upsell.created += 120;
    ChargeFields withoutIntent = invoiced;
    withoutIntent.id = u"ch_nopi"_s, withoutIntent.paymentIntent.clear();
    QList<ChargeFields> twelve;
    for (int i = 0; i < 12; ++i)
        twelve.append({.id = u"ch_%1"_s.arg(i), .amount = 1000 + i, .created = 1'773'140'000 + i, .paymentIntent = u"pi_%1"_s.arg(i)});
    const FakeResponse ok = FakeResponse::json(200, {});
    // payingCharges: indices into charges, each paid an invoice of its own; links: one per paying charge; a 200
    // paymentsAnswer is built from the paying charges; requests to /v1/invoice_payments: the listing, then one per
    // unlinked intent; chargesWait for the links: left out, and the next load starts from the same point.
    const struct { const char *name; QList<ChargeFields> charges; QList<qsizetype> payingCharges; QList<Link> links;
        FakeResponse paymentsAnswer; QStringList sales; qsizetype requests = 1; bool scopeMissing = false;
        bool chargesWait = false; } rows[] = {
        {"a one-off beside the invoice it resembles", {invoiced, upsell}, {0}, {Intent}, ok, {u"ch_seat"_s}, 2},
        {"a charge without payment intent", {withoutIntent}, {0}, {Charge}, ok, {}},
        {"more than ten invoice payments", twelve, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}, QList<Link>(12, Intent), ok, {}},
        {"an invoice paid long after its payment was recorded", {invoiced, upsell}, {0}, {Late}, ok, {u"ch_seat"_s}, 3},
        {"listing refused: the charge counts and the key is flagged", {invoiced}, {0}, {Intent},
         FakeResponse::json(403, "{}"), {u"ch_inv"_s}, 1, true},
        {"listing failing otherwise: the invoice counts, the charge waits", {invoiced}, {0}, {Intent},
         FakeResponse::json(500, "oops"), {}, 1, false, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        byType.clear();
        stripe.clearRecords();
        QJsonArray invoices, charges, payments, late;
        for (const ChargeFields &c : row.charges)
            charges.append(succeededCharge(u"evt_"_s + c.id, c.created, c, Shape::Current));
        for (qsizetype i = 0; i < row.payingCharges.size(); ++i) {
            const ChargeFields &c = row.charges[row.payingCharges[i]];
            const QString invoiceId = u"in_"_s + c.id.mid(3);
            invoices.append(paid(invoiceId, c));
            (row.links[i] == Late ? late : payments)
                .append(row.links[i] == Charge ? inpay(invoiceId, u"charge"_s, c.id)
                                               : inpay(invoiceId, u"payment_intent"_s, c.paymentIntent));
        }
        byType.insert(u"invoice.payment_succeeded"_s, FakeResponse::json(200, page(invoices, false)));
        byType.insert(u"charge.succeeded"_s, FakeResponse::json(200, page(charges, false)));
        const FakeResponse listing = row.paymentsAnswer.status == 200 ? FakeResponse::json(200, page(payments, false))
                                                                      : row.paymentsAnswer;
        stripe.setHandler("GET", "/v1/invoice_payments", [&](const RecordedRequest &r) {
            return r.rawQuery.startsWith("payment") ? FakeResponse::json(200, page(late, false)) : listing;
        });

        const auto load = loadLastDay();
        EXPECT_EQ(stripe.requestsTo("/v1/invoice_payments").size(), row.requests);
        ASSERT_TRUE(load.ok());
        EXPECT_EQ(load.value().askAgainFromSameStart, row.chargesWait);
        EXPECT_EQ(engine->lastError().has_value(), row.chargesWait);
        QStringList sales;
        for (const PaymentEvent &event : load.value().events)
            if (event.id.startsWith(u"ch_"_s))
                sales.append(event.id);
        EXPECT_EQ(sales, row.sales);
        EXPECT_EQ(load.value().events.size() - sales.size(), row.payingCharges.size()) << "every invoice counts";
        EXPECT_EQ(engine->missingEventScopeAccounts().contains(acct.id), row.scopeMissing);
    }
}
