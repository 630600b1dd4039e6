#include "model/CurrencyConverter.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(CurrencyConverter, CompactFormats)
{
    struct Row { double usd; const char *code; QString expected; };
    const Row rows[] = {
        {1234, "USD", u"$1234"_s}, {9999.99, "USD", u"$9999"_s}, {12345, "USD", u"$12.3K"_s},
        {10'000, "USD", u"$10.0K"_s}, {1'500'000, "USD", u"$1.50M"_s}, {999'999, "USD", u"$1000K"_s},
        {-2500, "USD", u"-$2500"_s}, {0, "usd", u"$0"_s},
        {120, "INR", u"₹10.0K"_s},       // 10 000 rupees
        {1800, "INR", u"₹1.50L"_s},      // 150 000 rupees
        {150'000, "INR", u"₹1.25Cr"_s},  // 12 500 000 rupees
        {6, "INR", u"₹500"_s},           // 500 rupees
        {108, "EUR", u"€100"_s},
        {50, "XYZ", u"XYZ 50"_s}, {50, "xyz", u"XYZ 50"_s}, {127, "gbp", u"£100"_s}, {114, "CHF", u"CHF 100"_s},
        {-27000, "EUR", u"-€25.0K"_s},
        // Exactly at, or rounding up to, a hundred of a unit.
        {100'000, "USD", u"$100K"_s}, {99'950, "USD", u"$100K"_s}, {99'999.99, "USD", u"$100K"_s},
        {100'000'000, "USD", u"$100M"_s},
        {12'000'000, "INR", u"₹100Cr"_s}, // 1 000 000 000 rupees
        {119'999.9, "INR", u"₹100L"_s},   // 9 999 991 rupees
    };
    for (const Row &row : rows)
        EXPECT_EQ(CurrencyConverter::formatCompact(row.usd, QString::fromLatin1(row.code)), row.expected) << std::to_string(row.usd) + " " + row.code;
}

TEST(CurrencyConverter, PrivacyMasks)
{
    struct Row { QString input; QString expected; };
    const Row masks[] = {
        {u"GBP"_s, u"£••••"_s}, {u"usd"_s, u"$••••"_s}, {u"SEK"_s, u"kr ••••"_s}, {u"XYZ"_s, u"$••••"_s},
    };
    for (const Row &row : masks)
        EXPECT_EQ(CurrencyConverter::mask(row.input), row.expected) << row.input.toStdString();
    const Row emails[] = {
        {u"jane@mail.example.co.uk"_s, u"j••••@m••••.uk"_s}, {u"john@localhost"_s, u"j••••@l••••.com"_s},
        {u"nobody"_s, u"••••@••••.com"_s}, {u"@example.com"_s, u"••••@••••.com"_s}, {u"jane@"_s, u"••••@••••.com"_s},
        {u""_s, u"••••@••••.com"_s},
        {u"a@b.c@d.org"_s, u"a••••@b••••.org"_s}, // split at the first "@" only
        {u"jo@mail."_s, u"j••••@m••••.mail"_s},   // the last non-empty piece
    };
    for (const Row &row : emails)
        EXPECT_EQ(CurrencyConverter::maskEmail(row.input), row.expected) << row.input.toStdString();
    const Row texts[] = {
        {u"1 × Pro (at $49.00 / month), 2 × Team (at €1,234.56 / year), -$12.50, $56.5K, CA$5,000, ¥1 000 000"_s,
         u"1 × Pro (at $•••• / month), 2 × Team (at €•••• / year), -$••••, $••••, CA$••••, ¥••••"_s},
        {u"EUR 91.66/mo, INR4999; 10,00 € for 3 seats; 1.234,50\u00A0EUR; 100 kr, 50 zł, Rs. 7; top-up 49.99"_s,
         u"EUR ••••/mo, INR••••; •••• € for 3 seats; ••••\u00A0EUR; •••• kr, •••• zł, Rs. ••••; top-up ••••"_s},
        {u"2 × Pro after 10 Mar 2026 (Tier 1), v2.10.1 on 21.11.2026, 15.00% off, 3 (USD)"_s,
         u"2 × Pro after 10 Mar 2026 (Tier 1), v2.10.1 on 21.11.2026, 15.00% off, 3 (USD)"_s},
    };
    for (const Row &row : texts)
        EXPECT_EQ(CurrencyConverter::maskAmounts(row.input), row.expected) << row.input.toStdString();
}

TEST(CurrencyConverter, RatesAndMinorUnits)
{
    EXPECT_DOUBLE_EQ(CurrencyConverter::toUSD(25, u"EUR"), 27.0);
    EXPECT_DOUBLE_EQ(CurrencyConverter::toUSD(25, u"HKD"), 0.0); // unknown currencies add nothing
    EXPECT_DOUBLE_EQ(CurrencyConverter::fromUSD(27, u"eur"), 25.0);
    EXPECT_DOUBLE_EQ(CurrencyConverter::fromUSD(27, u"HKD"), 27.0); // display uses 1.0
    EXPECT_DOUBLE_EQ(CurrencyConverter::nativeToUSDForDisplay(10, u"HKD"), 10.0);

    struct Row { const char *code; double factor; };
    const Row rows[] = {{"JPY", 1},   {"jpy", 1},   {"KRW", 1},   {"bif", 1},   {"XPF", 1},   {"VND", 1},
                        {"USD", 100}, {"eur", 100}, {"GBP", 100}, {"INR", 100}, {"ABC", 100}, {"", 100}};
    for (const Row &row : rows)
        EXPECT_EQ(CurrencyConverter::minorUnitFactor(QString::fromLatin1(row.code)), row.factor) << row.code;
    EXPECT_DOUBLE_EQ(CurrencyConverter::fromMinorUnits(5000, u"JPY"), 5000.0);
    EXPECT_DOUBLE_EQ(CurrencyConverter::fromMinorUnits(2000, u"usd"), 20.0);
    EXPECT_DOUBLE_EQ(CurrencyConverter::fromMinorUnits(-1999, u"EUR"), -19.99);

    ASSERT_EQ(CurrencyConverter::dashboardCurrencies().size(), 6);
    EXPECT_EQ(CurrencyConverter::dashboardCurrencies()[3], std::make_pair(u"INR"_s, u"INR – Indian Rupee"_s));
}
