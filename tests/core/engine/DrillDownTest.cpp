// Per-customer breakdown of one kind and its CSV export.
#include "EngineFixture.h"
#include "engine/CsvExport.h"
#include "engine/DrillDown.h"

using namespace Qt::StringLiterals;

namespace {

const QUuid mainId = QUuid::fromString(u"11111111-1111-1111-1111-111111111111"_s);
const QUuid other = QUuid::fromString(u"22222222-2222-2222-2222-222222222222"_s);

} // namespace

TEST(DrillDown, GroupsCustomersOfOneKindInTheSelection)
{
    const Date t0 = Date::fromUnix(1'795'262'400);
    const auto ev = [&](const char *id, int hoursAgo, double usd, std::optional<QString> email,
                        RevenueKind kind = RevenueKind::New, QUuid account = mainId) {
        PaymentEvent e = EngineFixture::event(QString::fromLatin1(id), t0.addingSeconds(-3600.0 * hoursAgo), kind, usd, account);
        e.customerEmail = std::move(email);
        return e;
    };
    const QList<PaymentEvent> feed{
        ev("a1", 1, 10, u"Ann@Example.com"_s),
        ev("b1", 2, 30, u"bob@example.com"_s),
        ev("a2", 3, 25, u"ann@example.com"_s),
        ev("x1", 4, 30, std::nullopt),
        ev("x2", 5, 5, u""_s),
        ev("r1", 6, 99, u"ann@example.com"_s, RevenueKind::Recurring),
        ev("o1", 7, 70, u"ann@example.com"_s, RevenueKind::New, other),
        ev("edge", 100, 1, u"cy@example.com"_s), // exactly at the selection's start
        ev("old", 200, 500, u"ann@example.com"_s),
    };
    // groups: "id ×count"
    const struct { const char *name; std::optional<QUuid> account; QStringList groups; } cases[] = {
        {"all accounts", std::nullopt,
         {u"ann@example.com ×3"_s, u"bob@example.com ×1"_s, u"__noemail__x1 ×1"_s, u"__noemail__x2 ×1"_s,
          u"cy@example.com ×1"_s}},
        {"one account", mainId,
         {u"ann@example.com ×2"_s, u"bob@example.com ×1"_s, u"__noemail__x1 ×1"_s, u"__noemail__x2 ×1"_s,
          u"cy@example.com ×1"_s}},
        {"an account without events", QUuid::createUuid(), {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const auto events = DrillDown::events(feed, {RevenueKind::New, t0.addingSeconds(-100 * 3600.0), t0, c.account});
        QStringList groups;
        for (const CustomerGroup &g : DrillDown::groups(feed, events))
            groups << u"%1 ×%2"_s.arg(g.id).arg(g.count);
        EXPECT_EQ(groups, c.groups);
    }
    const auto groups = DrillDown::groups(feed, DrillDown::events(feed, {RevenueKind::New, t0.addingSeconds(-100 * 3600.0), t0, {}}));
    EXPECT_EQ(groups[0].displayName, u"Ann@Example.com"_s) << "the newest event names the group";
    EXPECT_EQ(groups[0].totalUSD, 105);
    EXPECT_EQ(groups[0].lastDate, t0.addingSeconds(-3600));
    EXPECT_EQ(groups[0].events, (QList<qsizetype>{0, 2, 6}));
    EXPECT_EQ(groups[2].displayName, u"Payment"_s);
}

TEST(CsvExport, QuotesWhatWouldBreakARow)
{
    const struct { QString text; QString field; } cases[] = {
        {u"plain"_s, u"plain"_s}, {u"Acme, Inc."_s, u"\"Acme, Inc.\""_s},
        {u"the \"Pro\" plan"_s, u"\"the \"\"Pro\"\" plan\""_s}, {u"two\nlines"_s, u"\"two\nlines\""_s},
        {u"carriage\rreturn"_s, u"\"carriage\rreturn\""_s}, {u"Zoë ✓"_s, u"Zoë ✓"_s},
        {u"=1+2"_s, u"'=1+2"_s}, {u"@SUM(A1)"_s, u"'@SUM(A1)"_s}, {u"-2+3"_s, u"'-2+3"_s}, {u"\tcmd"_s, u"'\tcmd"_s},
        {u"+SUM(A1,A2)"_s, u"\"'+SUM(A1,A2)\""_s}, {u"\r=cmd"_s, u"\"'\r=cmd\""_s},
        {u"-12.50"_s, u"-12.50"_s}, {u"A=B"_s, u"A=B"_s},
    };
    for (const auto &c : cases)
        EXPECT_EQ(CsvExport::field(c.text), c.field) << c.text.toStdString();

    const PaymentEvent e{.id = u"ch_1"_s, .date = Date::fromUnix(1'795'262'400), .amount = 1875, .currency = u"jpy"_s,
                         .usdAmount = 12.5, .accountName = u"Main"_s, .kind = RevenueKind::New,
                         .description = u"Team, \"annual\""_s, .customerEmail = u"zoë@example.com"_s};
    EXPECT_EQ(CsvExport::events({e}),
              "date,kind,account,customer_email,description,amount,currency,amount_usd,id,dashboard_url\r\n"
              "2026-11-21T12:00:00Z,new,Main,zoë@example.com,\"Team, \"\"annual\"\"\",1875.00,JPY,12.50,ch_1,\r\n");
    PaymentEvent dollars = e;
    dollars.amount = dollars.usdAmount = 20, dollars.currency = u"usd"_s, dollars.date = e.date.addingSeconds(-3600);
    const QList<PaymentEvent> feed{e, dollars, dollars};
    EXPECT_EQ(CsvExport::customers(feed, DrillDown::groups(feed, {0, 1, 2})),
              "customer,email,account,events,amount,currency,amount_usd,last_date\r\n"
              "zoë@example.com,zoë@example.com,Main,1,1875.00,JPY,12.50,2026-11-21T12:00:00Z\r\n"
              "zoë@example.com,zoë@example.com,Main,2,40.00,USD,40.00,2026-11-21T11:00:00Z\r\n")
        << "one customer, one row per currency";
}
