// The 31–90-day history from Stripe charges: classification, the merge with the feed, and
// the engine's fill task against a loopback Stripe with one failing account.
#include "EngineFixture.h"
#include "engine/GapFill.h"

using namespace Qt::StringLiterals;
using namespace StripeBodies;

namespace {

constexpr qint64 nowUnix = 1'795'262'400; // 2026-11-21 12:00 UTC
constexpr qint64 day = 86'400;

RawCharge rawCharge(const QString &id, qint64 amount, const QString &currency, std::optional<QString> invoice = {})
{
    return {.id = id, .amount = amount, .currency = currency, .created = nowUnix - 60 * day, .invoice = std::move(invoice)};
}

} // namespace

TEST(GapFill, ChargesBecomeNewOrRecurringEvents)
{
    const Account account = EngineFixture::stripeAccount(u"Main"_s);
    const Date now = Date::fromUnix(nowUnix);
    const RawCharge undated{.id = u"ch_undated"_s, .amount = 500, .currency = u"usd"_s,
                            .metadata = QMap<QString, QString>{{u"plan"_s, u"Team"_s}}};
    const Date old = Date::fromUnix(nowUnix - 60 * day);
    // kind: none for no event
    const struct { const char *name; RawCharge charge; InvoiceLinking::Links links; std::optional<RevenueKind> kind;
        double amount; Date date; QString description = u"Payment"_s; } cases[] = {
        {"empty invoice", rawCharge(u"ch_c"_s, 2000, u"usd"_s, u""_s), {}, RevenueKind::New, 20, old},
        {"invoice from the links", rawCharge(u"ch_b"_s, 2000, u"eur"_s), {{u"ch_b"_s, u"in_b"_s}}, RevenueKind::Recurring, 20, old},
        {"zero-decimal currency", rawCharge(u"ch_d"_s, 3000, u"JPY"_s), {}, RevenueKind::New, 3000, old},
        {"no created date, plan name", undated, {}, RevenueKind::New, 5, now, u"Team"_s},
        {"zero amount", rawCharge(u"ch_e"_s, 0, u"usd"_s), {}, std::nullopt, 0, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto h = GapFill::fromCharge(c.charge, account, c.links, now);
        ASSERT_EQ(h.has_value(), c.kind.has_value());
        if (!h)
            continue;
        EXPECT_EQ(h->event.kind, *c.kind);
        EXPECT_EQ(h->event.amount, c.amount);
        EXPECT_EQ(h->event.date, c.date);
        EXPECT_EQ(h->event.description, c.description);
        EXPECT_EQ(h->event.dashboardURL, u"https://dashboard.stripe.com/payments/"_s + c.charge.id);
    }
    EXPECT_NEAR(GapFill::fromCharge(cases[2].charge, account, {}, now)->event.usdAmount, 3000 * 0.0064, 1e-9);
}

class GapFillEngine : public EngineFixture
{
protected:
    Account main = stripeAccount(u"Main"_s, u"rk_test_main"_s);
    Account broken = stripeAccount(u"Broken"_s, u"rk_test_broken"_s);     // its charges fail
    Account unlinked = stripeAccount(u"Unlinked"_s, u"rk_test_unlinked"_s); // its invoice payments fail
    FakeResponse chargesAnswer;
    Date gapStart = GapFill::window(Date::fromUnix(nowUnix), calendar, 90)->start;

    void SetUp() override
    {
        clock->set(Date::fromUnix(nowUnix));
        const qint64 old = nowUnix - 60 * day, start = qint64(gapStart.unixSeconds());
        QJsonArray charges{
            charge({.id = u"ch_stored"_s, .amount = 5000, .created = old}, Shape::Legacy),
            charge({.id = u"ch_sale"_s, .amount = 1500, .created = old}, Shape::Legacy),
            charge({.id = u"ch_renewal"_s, .amount = 2000, .created = old, .invoice = u"in_other"_s}, Shape::Legacy),
            charge({.id = u"ch_paid_stored_invoice"_s, .amount = 2000, .created = old, .invoice = u"in_stored"_s}, Shape::Legacy),
            charge({.id = u"ch_too_old"_s, .amount = 2000, .created = nowUnix - 100 * day}, Shape::Legacy),
            charge({.id = u"ch_refunded"_s, .amount = 4000, .amountRefunded = 1500, .created = old}, Shape::Legacy),
            charge({.id = u"ch_all_back"_s, .amount = 90000, .amountRefunded = 90000, .created = old}, Shape::Legacy),
            // Paid invoices whose payment Stripe recorded before the gap: half an hour before
            // (its invoice already in the feed), and ten days before (a retried renewal).
            charge({.id = u"ch_early_record"_s, .amount = 2574, .created = start + 600, .paymentIntent = u"pi_early"_s},
                   Shape::Current),
            charge({.id = u"ch_retried"_s, .amount = 3000, .created = old, .paymentIntent = u"pi_retried"_s}, Shape::Current),
        };
        QJsonArray records; // invoice payments in_early and in_retried, recorded before the gap
        for (const auto &[intent, created] : {std::pair{u"pi_early"_s, start - 1800}, {u"pi_retried"_s, start - 10 * day}})
            records.append(QJsonObject{{"id"_L1, QString(u"inpay_"_s + intent)}, {"invoice"_L1, QString(u"in_"_s + intent.mid(3))},
                                       {"status"_L1, "paid"_L1}, {"created"_L1, created},
                                       {"payment"_L1, QJsonObject{{"payment_intent"_L1, intent}}}});
        chargesAnswer = FakeResponse::json(200, page(charges, false, u"/v1/charges"_s));
        stripe.setFallback([this, records, old](const RecordedRequest &r) {
            const QByteArray key = r.header("Authorization");
            const QString intent = r.query(u"payment[payment_intent]"_s);
            QJsonArray found; // as Stripe filters them: by creation, or by the payment intent asked for
            for (const QJsonValue &v : records)
                if (intent.isNull() ? v[u"created"_s].toInteger() >= r.query(u"created[gte]"_s).toLongLong()
                                    : v[u"payment"_s][u"payment_intent"_s] == intent)
                    found.append(v);
            if ((r.path == "/v1/charges" && key == stripeAuth(broken))
                || (r.path == "/v1/invoice_payments" && key == stripeAuth(unlinked)))
                return FakeResponse::json(500, error(u"api_error"_s, {}, u"Something went wrong"_s));
            if (r.path == "/v1/invoice_payments")
                return FakeResponse::json(200, page(found, false, u"/v1/invoice_payments"_s));
            if (r.path != "/v1/charges")
                return FakeResponse::json(200, page({}, false));
            const QJsonObject unlinkedSale = charge({.id = u"ch_unlinked"_s, .amount = 7000, .created = old}, Shape::Legacy);
            return key != stripeAuth(unlinked) ? chargesAnswer : FakeResponse::json(200, page({unlinkedSale}, false));
        });
        ASSERT_TRUE(storage().saveAccounts({main, broken, unlinked}));
        ASSERT_TRUE(storage().saveFeed({event(u"ch_stored"_s, Date::fromUnix(old), RevenueKind::Recurring, 99, main.id),
                            event(u"in_stored"_s, Date::fromUnix(nowUnix - 50 * day), RevenueKind::Recurring, 20, main.id),
                            event(u"in_early"_s, Date::fromUnix(start + 300), RevenueKind::Recurring, 25.74, main.id)}));
    }
};

TEST_F(GapFillEngine, FillsOnceLinkingChargesAsTheRecentLoadDoes)
{
    RevenueEngine &e = start();
    QCoro::waitFor(e.refresh());
    EXPECT_TRUE(e.isLoadingHistoricalGap());
    ASSERT_TRUE(waitUntil([&] { return !e.isLoadingHistoricalGap(); }));

    EXPECT_EQ(byId(e.feed()).keys(), (QStringList{u"ch_refunded"_s, u"ch_renewal"_s, u"ch_retried"_s, u"ch_sale"_s,
                                                  u"ch_stored"_s, u"in_early"_s, u"in_stored"_s}));
    // New and recurring dollars of each day the fill touched: the feed's own events win, refunds
    // come off, a fully refunded charge is no sale, an invoice already in the feed is not paid twice.
    QMap<QDate, std::pair<double, double>> days;
    for (const DailyBucket &b : e.dailyBuckets())
        if (b.newMRR != 0 || b.recurringMRR != 0)
            days.insert(b.date.toDateTime().toTimeZone(calendar.zone()).date(), {b.newMRR, b.recurringMRR});
    const auto dayOf = [&](qint64 unix) { return QDateTime::fromSecsSinceEpoch(unix, calendar.zone()).date(); };
    EXPECT_EQ(days, (QMap<QDate, std::pair<double, double>>{{dayOf(qint64(gapStart.unixSeconds()) + 300), {0, 25.74}},
                                                             {dayOf(nowUnix - 60 * day), {15 + 25, 99 + 20 + 30}},
                                                             {dayOf(nowUnix - 50 * day), {0, 20}}}));
    EXPECT_EQ(e.achievements().bestDayUSD, 15 + 25 + 99 + 20 + 30);
    EXPECT_EQ(storage().loadFeed(), e.feed());
    // The records are listed from an hour before the gap; only the retried renewal's is
    // looked up. The account whose records fail adds nothing and says why.
    QStringList linkQueries;
    for (const RecordedRequest &r : stripe.requestsTo("/v1/invoice_payments"))
        if (r.header("Authorization") == stripeAuth(main) && r.query(u"created[gte]"_s).toLongLong() < nowUnix - 31 * day)
            linkQueries.append(r.query(u"created[gte]"_s) + r.query(u"payment[payment_intent]"_s));
    EXPECT_EQ(linkQueries, (QStringList{QString::number(qint64(gapStart.unixSeconds()) - 3600), u"pi_retried"_s}));
    EXPECT_TRUE(e.lastError().value_or(QString()).startsWith(u"[Unlinked] invoice payments fetch HTTP 500: "_s));
    EXPECT_FALSE(readFile(storage().pathOf(Storage::feedFile)).contains("Something went wrong"));
    EXPECT_EQ(stripe.requestsTo("/v1/charges").size(), 3);

    QCoro::waitFor(e.refresh());
    EXPECT_FALSE(e.isLoadingHistoricalGap()) << "the fill runs once per process";
    EXPECT_EQ(stripe.requestsTo("/v1/charges").size(), 3);
}

TEST_F(GapFillEngine, AnEngineGoingAwayMidFillWritesNothing)
{
    chargesAnswer = FakeResponse::hang();
    RevenueEngine &e = start();
    QCoro::waitFor(e.refresh());
    ASSERT_TRUE(waitUntil([&] { return stripe.requestsTo("/v1/charges").size() == 3; }));
    const QByteArray before = readFile(storage().pathOf(Storage::feedFile));
    engine.reset();
    VirtualClock::settle();
    EXPECT_EQ(readFile(storage().pathOf(Storage::feedFile)), before);
}

using GapFillDemo = EngineFixture;

TEST_F(GapFillDemo, TheDemoBusinessGetsItsOlderHistoryToo)
{
    clock->set(Date::fromUnix(nowUnix));
    RevenueEngine &e = start();
    e.addDemoAccount();
    QCoro::waitFor(e.refresh());
    ASSERT_TRUE(waitUntil([&] { return !e.isLoadingHistoricalGap(); }));
    const Totals all = e.totals(TimeRange::Last90Days), recent = e.totals(TimeRange::Last30Days);
    EXPECT_TRUE(all.newMRR > recent.newMRR && all.recurringMRR > recent.recurringMRR);
}
