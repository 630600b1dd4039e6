#include "util/Date.h"

#include <gtest/gtest.h>

TEST(Date, IsoAndProviderFormsParseToTheSameInstantWithinTheirLimits)
{
    struct Row { const char *name; const char *text; std::optional<double> unix; };
    const Row rows[] = {
        {"zulu", "2026-03-10T12:00:00Z", 1773144000},
        {"fraction", "2026-03-10T12:00:00.750Z", 1773144000.75},
        {"colon offset", "2026-03-10T14:00:00+02:00", 1773144000},
        {"compact offset", "2026-03-10T04:00:00-0800", 1773144000},
        {"date only", "2026-03-10", std::nullopt},
        {"no zone", "2026-03-10T12:00:00", std::nullopt},
        {"bad month", "2026-13-10T12:00:00Z", std::nullopt},
        {"trailing junk", "2026-03-10T12:00:00Zx", std::nullopt},
        {"empty fraction", "2026-03-10T12:00:00.Z", std::nullopt},
        {"PayPal's compact zero offset", "2026-11-20T09:41:07+0000", 1795167667},
        {"lower-case separators", "2026-11-20t09:41:07z", 1795167667},
        {"fraction with colon offset", "2026-11-20T11:41:07.5+02:00", 1795167667.5},
        {"offset that changes the day", "2026-11-19T23:41:07-10:00", 1795167667},
        {"leap day", "2028-02-29T00:00:00Z", 1835395200},
        {"not a leap year", "2026-02-29T00:00:00Z", std::nullopt},
        {"hour 24", "2026-11-20T24:00:00Z", std::nullopt},
        {"offset hours out of range", "2026-11-20T09:41:07+24:00", std::nullopt},
        {"offset without minutes", "2026-11-20T09:41:07+02", std::nullopt},
        {"space instead of T", "2026-11-20 09:41:07Z", std::nullopt},
        {"two-digit year", "26-11-20T09:41:07Z", std::nullopt},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto parsed = Date::fromIsoString(QString::fromLatin1(row.text));
        ASSERT_EQ(parsed.has_value(), row.unix.has_value());
        if (row.unix)
            EXPECT_NEAR(parsed->unixSeconds(), *row.unix, 1e-6);
    }
}

TEST(Date, IsoTextDropsTheFraction)
{
    const Date d = Date::fromUnix(1773144000.75);
    EXPECT_EQ(d.toIsoString(), QStringLiteral("2026-03-10T12:00:00Z"));
    EXPECT_EQ(Date::fromUnix(1700000000.9).unixSecondsTruncated(), 1700000000);
    EXPECT_DOUBLE_EQ(Date::fromUnix(Date::unixOffset).referenceSeconds(), 0.0);
}
