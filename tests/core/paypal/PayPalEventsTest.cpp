#include "PayPalBodies.h"
#include "engine/PayPalEvents.h"

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
    auto resp = decodeJsonObject(PayPalBodies::pageOf(rows), [](JsonReader &r) { return PPListResp::decode(r); });
    EXPECT_TRUE(resp.ok()) << resp.error().toStdString();
    return resp ? resp->transaction_details.value_or(QList<PPTransaction>{}) : QList<PPTransaction>{};
}

std::optional<QString> text(const char *s)
{
    return s ? std::optional(QString::fromLatin1(s)) : std::nullopt;
}

} // namespace

TEST(PayPalEvents, AMixedMerchantPageYieldsOnlyItsCompletedSales)
{
    const Account account = shop();
    const QList<PaymentEvent> events = paypalEvents(decoded(PayPalBodies::mixedMerchantRows()), account);

    ASSERT_EQ(events.size(), 2);
    const PaymentEvent sale{.id = u"5TY05013RG002845M"_s, .date = Date::fromUnix(1795167667), // 2026-11-20T09:41:07Z
                            .amount = 465.0, .currency = u"USD"_s, .usdAmount = 465.0, .accountId = account.id,
                            .accountName = u"Example Shop"_s, .kind = RevenueKind::Recurring,
                            .description = u"Annual plan – Example Pro"_s};
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
        const char *code, *currency, *value, *status, *subject;
        double amount, usdAmount;
        QString description;
    };
    const QString plain = u"PayPal payment"_s;
    const Row rows[] = {
        {"EUR with a subject", "T0006", "EUR", "25.00", "S", "Pro plan", 25.0, 27.0, u"Pro plan"_s},
        {"no subject", "T0002", "USD", "12.50", "S", nullptr, 12.5, 12.5, plain},
        {"empty subject", "T0002", "USD", "12.50", "S", "", 12.5, 12.5, plain},
        {"zero-decimal JPY stays whole", "T0006", "JPY", "1500", "S", nullptr, 1500.0, 1500.0 * 0.0064, plain},
        {"lower-case code, rate found", "T0006", "gbp", "10", "S", nullptr, 10.0, 12.7, plain},
        {"currency outside the table adds nothing", "T0006", "HKD", "80.00", "S", nullptr, 80.0, 0.0, plain},
        {"partly refunded payment still counts", "T0006", "USD", "40.00", "F", nullptr, 40.0, 40.0, plain},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const PayPalBodies::Row body{"3GG279541U471931P", row.code, "2026-11-20T09:41:07Z", row.currency, row.value,
                                     row.status, row.subject};
        const auto events = paypalEvents(decoded({body}), shop());
        ASSERT_EQ(events.size(), 1);
        EXPECT_EQ(events[0].id, u"3GG279541U471931P"_s);
        EXPECT_DOUBLE_EQ(events[0].amount, row.amount);
        EXPECT_NEAR(events[0].usdAmount, row.usdAmount, 1e-9);
        EXPECT_EQ(events[0].currency, QString::fromLatin1(row.currency));
        EXPECT_EQ(events[0].description, row.description);
        EXPECT_EQ(events[0].kind, RevenueKind::Recurring);
    }
}

TEST(PayPalEvents, SkipsRowsThatAreNotCompletedIncomingPayments)
{
    // Codes and statuses alone are judged by the rule below; these need the whole row.
    const std::pair<const char *, PayPalBodies::Row> rows[] = {
        {"no amount", {"7AB62414BC4437215", "T0006", "2026-11-18T12:00:00+0000", "USD", nullptr, "S"}},
        {"thousands separator", {"7AB62414BC4437216", "T0006", "2026-11-18T12:00:00+0000", "USD", "1,000.00", "S"}},
        {"date without time", {"7AB62414BC4437217", "T0006", "2024-05-01", "USD", "25.00", "S"}},
        {"no date", {"7AB62414BC4437218", "T0006", nullptr, "USD", "25.00", "S"}},
    };
    for (const auto &[name, row] : rows) {
        SCOPED_TRACE(name);
        EXPECT_TRUE(paypalEvents(decoded({row}), shop()).isEmpty());
    }
}

TEST(PayPalEvents, AmountsAreReadTheSameInEveryLocale)
{
    const std::pair<const char *, std::optional<double>> rows[] = {
        {"465.00", 465.0},   {"-13.79", -13.79}, {"1500", 1500.0},    {".50", 0.5},        {"-.50", -0.5},
        {"0", 0.0},          {"007.10", 7.1},    {"1,000.00", {}},    {"12,50", {}},       {"1e3", {}},
        {"", {}},            {" 5", {}},         {"5 ", {}},          {"5.", {}},          {"+5", {}},
        {"-", {}},           {".", {}},          {"1.2.3", {}},       {"--1", {}},         {"nan", {}},
        {"inf", {}},         {"0x10", {}},       {"1_000", {}},       {"\xd9\xa1\xd9\xa2", {}}, // Arabic-Indic "12"
        {"999999999999.99", 999999999999.99},
        {"123456789012345678901234567890.5", {}}, // no payment is that large
        {"1234567890123456789012345678901.5", {}}, // past PayPal's 32 characters
    };
    for (const auto &[text, value] : rows) {
        SCOPED_TRACE(text);
        const auto parsed = parsePayPalAmount(QString::fromUtf8(text));
        ASSERT_EQ(parsed.has_value(), value.has_value());
        if (value)
            EXPECT_DOUBLE_EQ(*parsed, *value);
    }
}

TEST(PayPalEvents, CompletedIncomingPaymentRule)
{
    // event code, status, amount, counted
    const std::tuple<const char *, const char *, double, bool> rows[] = {
        {"T0000", "S", 10, true},  {"T0002", "S", 10, true},  {"T0006", "S", 10, true},   {"T0011", "S", 10, true},
        {"T0013", "S", 10, true},  {"T0006", "F", 10, true},  {"T0006", "P", 10, false},  {"T0006", "D", 10, false},
        {"T0006", "V", 10, false}, {"T0006", "s", 10, false}, {"T0006", "S", 0, false},   {"T0006", "S", -10, false},
        {"T0008", "S", 10, false}, {"T0014", "S", 10, false}, {"T0016", "S", 10, false},  {"T1107", "S", 10, false},
        {"T0400", "S", 10, false}, {"T0300", "S", 10, false}, {"T2201", "S", 10, false},  {"T000", "S", 10, false},
        {"T00061", "S", 10, false}, {"t0006", "S", 10, false}, {nullptr, "S", 10, false}, {"T0006", nullptr, 10, false},
        {"T0107", "S", 10, false}, {"T1106", "S", 10, false}, {"T1105", "S", 10, false},  {"T0017", "S", 10, false},
        {"T0015", "S", 10, false},
    };
    for (const auto &[code, status, amount, expected] : rows) {
        SCOPED_TRACE(std::string(code ? code : "(none)") + " " + (status ? status : "(none)") + " "
                     + std::to_string(amount));
        const PPInfo info{.transaction_event_code = text(code), .transaction_status = text(status)};
        EXPECT_EQ(isCompletedIncomingPayment(info, amount), expected);
    }
}
