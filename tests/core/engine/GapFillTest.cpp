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
    return {.id = id, .amount = amount, .currency = currency, .created = nowUnix - 60 * day,
            .invoice = std::move(invoice)};
}

} // namespace

TEST(GapFill, ChargesBecomeNewOrRecurringEvents)
{
    const Account account = EngineFixture::stripeAccount(u"Main"_s);
    const Date now = Date::fromUnix(nowUnix);
    const RawCharge undated{.id = u"ch_undated"_s, .amount = 500, .currency = u"usd"_s,
                            .metadata = QMap<QString, QString>{{u"plan"_s, u"Team"_s}}};
    const Date old = Date::fromUnix(nowUnix - 60 * day);
    const struct
    {
        const char *name;
        RawCharge charge;
        GapFill::InvoiceLinks links;
        std::optional<RevenueKind> kind; // none: no event
        double amount;
        Date date;
        QString description = u"Payment"_s;
    } cases[] = {
        {"invoice on the charge", rawCharge(u"ch_a"_s, 2000, u"usd"_s, u"in_a"_s), {}, RevenueKind::Recurring, 20, old},
        {"invoice from the links", rawCharge(u"ch_b"_s, 2000, u"eur"_s), {{u"ch_b"_s, u"in_b"_s}},
         RevenueKind::Recurring, 20, old},
        {"no invoice", rawCharge(u"ch_c"_s, 2000, u"usd"_s, u""_s), {}, RevenueKind::New, 20, old},
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
    const RawCharge byIntent{.id = u"ch_f"_s, .amount = 100, .currency = u"usd"_s, .payment_intent = u"pi_f"_s};
    const RawInvoicePayment payment{.invoice = u"in_f"_s, .payment_intent = u"pi_f"_s};
    EXPECT_EQ(GapFill::linksFrom({byIntent, cases[2].charge}, {payment}), (GapFill::InvoiceLinks{{u"ch_f"_s, u"in_f"_s}}));
    EXPECT_NEAR(GapFill::fromCharge(cases[3].charge, account, {}, now)->event.usdAmount, 3000 * 0.0064, 1e-9);
}

class GapFillEngine : public EngineFixture
{
protected:
    Account main = stripeAccount(u"Main"_s, u"rk_test_main"_s);
    Account broken = stripeAccount(u"Broken"_s, u"rk_test_broken"_s);
    FakeResponse chargesAnswer;

    void SetUp() override
    {
        clock->set(Date::fromUnix(nowUnix));
        const qint64 old = nowUnix - 60 * day;
        QJsonArray charges{
            charge({.id = u"ch_stored"_s, .amount = 5000, .created = old}, Shape::Legacy),
            charge({.id = u"ch_sale"_s, .amount = 1500, .created = old}, Shape::Legacy),
            charge({.id = u"ch_renewal"_s, .amount = 2000, .created = old, .invoice = u"in_other"_s}, Shape::Legacy),
            charge({.id = u"ch_paid_stored_invoice"_s, .amount = 2000, .created = old, .invoice = u"in_stored"_s}, Shape::Legacy),
            charge({.id = u"ch_too_old"_s, .amount = 2000, .created = nowUnix - 100 * day}, Shape::Legacy),
        };
        chargesAnswer = FakeResponse::json(200, page(charges, false, u"/v1/charges"_s));
        stripe.setFallback([this](const RecordedRequest &r) {
            if (r.path != "/v1/charges")
                return FakeResponse::json(200, page({}, false));
            if (r.header("Authorization") == stripeAuth(broken))
                return FakeResponse::json(500, error(u"api_error"_s, {}, u"Something went wrong"_s));
            return chargesAnswer;
        });
        ASSERT_TRUE(storage().saveAccounts({main, broken}));
        ASSERT_TRUE(storage().saveFeed({event(u"ch_stored"_s, Date::fromUnix(nowUnix - 60 * day), RevenueKind::Recurring, 99),
                            event(u"in_stored"_s, Date::fromUnix(nowUnix - 50 * day), RevenueKind::Recurring, 20)}));
    }
};

TEST_F(GapFillEngine, FillsOnceWithTheFeedWinningAndAFailingAccountSilent)
{
    RevenueEngine &e = start();
    QCoro::waitFor(e.refresh());
    EXPECT_TRUE(e.isLoadingHistoricalGap());
    ASSERT_TRUE(waitUntil([&] { return !e.isLoadingHistoricalGap(); }));

    const QMap<QString, PaymentEvent> events = byId(e.feed());
    EXPECT_EQ(events.keys(), (QStringList{u"ch_renewal"_s, u"ch_sale"_s, u"ch_stored"_s, u"in_stored"_s}));
    EXPECT_EQ(events.value(u"ch_stored"_s).usdAmount, 99) << "events already in the feed win";
    EXPECT_EQ(events.value(u"ch_sale"_s).kind, RevenueKind::New);
    EXPECT_EQ(events.value(u"ch_renewal"_s).kind, RevenueKind::Recurring);
    EXPECT_EQ(storage().loadFeed(), e.feed());
    EXPECT_EQ(e.achievements().bestDayUSD, 99 + 15 + 20);
    EXPECT_FALSE(e.lastError().has_value());
    EXPECT_EQ(stripe.requestsTo("/v1/charges").size(), 2);

    QCoro::waitFor(e.refresh());
    EXPECT_FALSE(e.isLoadingHistoricalGap()) << "the fill runs once per process";
    EXPECT_EQ(stripe.requestsTo("/v1/charges").size(), 2);
}

TEST_F(GapFillEngine, AnEngineGoingAwayMidFillWritesNothing)
{
    chargesAnswer = FakeResponse::hang();
    RevenueEngine &e = start();
    QCoro::waitFor(e.refresh());
    ASSERT_TRUE(waitUntil([&] { return stripe.requestsTo("/v1/charges").size() == 2; }));
    const QByteArray before = readFile(storage().pathOf(Storage::feedFile));
    engine.reset();
    VirtualClock::settle();
    EXPECT_EQ(readFile(storage().pathOf(Storage::feedFile)), before);
}
