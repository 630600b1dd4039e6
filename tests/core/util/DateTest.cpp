#include "util/Date.h"

#include <gtest/gtest.h>

TEST(Date, IsoFormsParseToTheSameInstant)
{
    struct Row
    {
        const char *name;
        const char *text;
        std::optional<double> unix;
    };
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
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        const auto parsed = Date::fromIsoString(QString::fromLatin1(row.text));
        ASSERT_EQ(parsed.has_value(), row.unix.has_value());
        if (row.unix)
            EXPECT_DOUBLE_EQ(parsed->unixSeconds(), *row.unix);
    }
}

TEST(Date, IsoTextDropsTheFraction)
{
    const Date d = Date::fromUnix(1773144000.75);
    EXPECT_EQ(d.toIsoString(), QStringLiteral("2026-03-10T12:00:00Z"));
    EXPECT_EQ(Date::fromUnix(1700000000.9).unixSecondsTruncated(), 1700000000);
    EXPECT_DOUBLE_EQ(Date::fromUnix(Date::unixOffset).referenceSeconds(), 0.0);
}
