#include "PayPalBodies.h"
#include "engine/PayPalEvents.h"

#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

Account shop()
{
    Account a = Account::newAccount(AccountProvider::PayPal);
    a.id = QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s);
    a.name = u"Example Shop"_s;
    return a;
}

// Rows go through the same JSON decoding the client uses, so the tests see exactly what a
// real fetch hands the loader.
QList<PPTransaction> decoded(const QList<PayPalBodies::Row> &rows)
{
    QJsonArray details;
    for (const auto &row : rows)
        details.append(PayPalBodies::transaction(row));
    auto resp = decodeJsonObject(PayPalBodies::page(details), [](JsonReader &r) { return PPListResp::decode(r); });
    EXPECT_TRUE(resp.ok()) << resp.error().toStdString();
    return resp ? resp->transaction_details.value_or(QList<PPTransaction>{}) : QList<PPTransaction>{};
}

PPInfo info(const char *code, const char *status)
{
    PPInfo i;
    if (code)
        i.transaction_event_code = QString::fromLatin1(code);
    if (status)
        i.transaction_status = QString::fromLatin1(status);
    return i;
}

} // namespace

TEST(PayPalEvents, AMixedMerchantPageYieldsOnlyItsCompletedSales)
{
    const Account account = shop();
    const QList<PaymentEvent> events = paypalEvents(decoded(PayPalBodies::mixedMerchantRows()), account);

    ASSERT_EQ(events.size(), 2);
    PaymentEvent sale;
    sale.id = u"5TY05013RG002845M"_s;
    sale.date = Date::fromUnix(1795167667); // 2026-11-20T09:41:07Z
    sale.amount = 465.0;
    sale.currency = u"USD"_s;
    sale.usdAmount = 465.0;
    sale.accountId = account.id;
    sale.accountName = u"Example Shop"_s;
    sale.kind = RevenueKind::Recurring;
    sale.description = u"Annual plan – Example Pro"_s;
    EXPECT_EQ(events[0], sale);

    EXPECT_EQ(events[1].id, u"8MC585209K746392H"_s);
    EXPECT_EQ(events[1].date, Date::fromUnix(1795129512)); // 2026-11-19T23:05:12Z
    for (const PaymentEvent &event : events) {
        EXPECT_FALSE(event.customerEmail.has_value());
        EXPECT_FALSE(event.dashboardURL.has_value());
    }
}

TEST(PayPalEvents, BuildsOneEventPerPaymentWithItsFields)
{
    struct Row
    {
        const char *name;
        PayPalBodies::Row row;
        double amount;
        double usdAmount;
        QString description;
    };
    const Row rows[] = {
        {"EUR with a subject", {"3GG279541U471931P", "T0006", "2026-11-20T09:41:07Z", "EUR", "25.00", "S", "Pro plan"},
         25.0, 27.0, u"Pro plan"_s},
        {"no subject", {"3GG279541U471931P", "T0002", "2026-11-20T09:41:07Z", "USD", "12.50", "S"}, 12.5, 12.5,
         u"PayPal payment"_s},
        {"empty subject", {"3GG279541U471931P", "T0002", "2026-11-20T09:41:07Z", "USD", "12.50", "S", ""}, 12.5, 12.5,
         u"PayPal payment"_s},
        {"zero-decimal JPY stays whole", {"3GG279541U471931P", "T0006", "2026-11-20T09:41:07Z", "JPY", "1500", "S"},
         1500.0, 1500.0 * 0.0064, u"PayPal payment"_s},
        {"lower-case code, rate found", {"3GG279541U471931P", "T0006", "2026-11-20T09:41:07Z", "gbp", "10", "S"}, 10.0,
         12.7, u"PayPal payment"_s},
        {"currency outside the table adds nothing", {"3GG279541U471931P", "T0006", "2026-11-20T09:41:07Z", "HKD", "80.00", "S"},
         80.0, 0.0, u"PayPal payment"_s},
        {"partly refunded payment still counts", {"3GG279541U471931P", "T0006", "2026-11-20T09:41:07Z", "USD", "40.00", "F"},
         40.0, 40.0, u"PayPal payment"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto events = paypalEvents(decoded({row.row}), shop());
        ASSERT_EQ(events.size(), 1);
        EXPECT_EQ(events[0].id, u"3GG279541U471931P"_s);
        EXPECT_DOUBLE_EQ(events[0].amount, row.amount);
        EXPECT_NEAR(events[0].usdAmount, row.usdAmount, 1e-9);
        EXPECT_EQ(events[0].currency, QString::fromLatin1(row.row.currency));
        EXPECT_EQ(events[0].description, row.description);
        EXPECT_EQ(events[0].kind, RevenueKind::Recurring);
    }
}

TEST(PayPalEvents, SkipsRowsThatAreNotCompletedIncomingPayments)
{
    struct Row
    {
        const char *name;
        PayPalBodies::Row row;
    };
    // Codes and statuses alone are judged by the rule below; these need the whole row.
    const Row rows[] = {
        {"no amount", {"7AB62414BC4437215", "T0006", "2026-11-18T12:00:00+0000", "USD", nullptr, "S"}},
        {"thousands separator", {"7AB62414BC4437216", "T0006", "2026-11-18T12:00:00+0000", "USD", "1,000.00", "S"}},
        {"date without time", {"7AB62414BC4437217", "T0006", "2024-05-01", "USD", "25.00", "S"}},
        {"no date", {"7AB62414BC4437218", "T0006", nullptr, "USD", "25.00", "S"}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(paypalEvents(decoded({row.row}), shop()).isEmpty());
    }
}

TEST(PayPalEvents, AmountsAreReadTheSameInEveryLocale)
{
    struct Row
    {
        const char *text;
        std::optional<double> value;
    };
    const Row rows[] = {
        {"465.00", 465.0},   {"-13.79", -13.79}, {"1500", 1500.0},    {".50", 0.5},        {"-.50", -0.5},
        {"0", 0.0},          {"007.10", 7.1},    {"1,000.00", {}},    {"12,50", {}},       {"1e3", {}},
        {"", {}},            {" 5", {}},         {"5 ", {}},          {"5.", {}},          {"+5", {}},
        {"-", {}},           {".", {}},          {"1.2.3", {}},       {"--1", {}},         {"nan", {}},
        {"inf", {}},         {"0x10", {}},       {"1_000", {}},       {"\xd9\xa1\xd9\xa2", {}}, // Arabic-Indic "12"
        {"999999999999.99", 999999999999.99},
        {"123456789012345678901234567890.5", {}}, // no payment is that large
        {"1234567890123456789012345678901.5", {}}, // past PayPal's 32 characters
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        const auto parsed = parsePayPalAmount(QString::fromUtf8(row.text));
        ASSERT_EQ(parsed.has_value(), row.value.has_value());
        if (row.value)
            EXPECT_DOUBLE_EQ(*parsed, *row.value);
    }
}

TEST(PayPalEvents, CompletedIncomingPaymentRule)
{
    struct Row
    {
        const char *code;
        const char *status;
        double amount;
        bool expected;
    };
    const Row rows[] = {
        {"T0000", "S", 10, true},  {"T0002", "S", 10, true},  {"T0006", "S", 10, true},   {"T0011", "S", 10, true},
        {"T0013", "S", 10, true},  {"T0006", "F", 10, true},  {"T0006", "P", 10, false},  {"T0006", "D", 10, false},
        {"T0006", "V", 10, false}, {"T0006", "s", 10, false}, {"T0006", "S", 0, false},   {"T0006", "S", -10, false},
        {"T0008", "S", 10, false}, {"T0014", "S", 10, false}, {"T0016", "S", 10, false},  {"T1107", "S", 10, false},
        {"T0400", "S", 10, false}, {"T0300", "S", 10, false}, {"T2201", "S", 10, false},  {"T000", "S", 10, false},
        {"T00061", "S", 10, false}, {"t0006", "S", 10, false}, {nullptr, "S", 10, false}, {"T0006", nullptr, 10, false},
        {"T0107", "S", 10, false}, {"T1106", "S", 10, false}, {"T1105", "S", 10, false},  {"T0017", "S", 10, false},
        {"T0015", "S", 10, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.code ? row.code : "(none)") + " " + (row.status ? row.status : "(none)") + " "
                     + std::to_string(row.amount));
        EXPECT_EQ(isCompletedIncomingPayment(info(row.code, row.status), row.amount), row.expected);
    }
}
