// Records alone: the accounts and the shown feed are the fixture's lists, the data folder a
// fresh one.
#include "EngineFixture.h"
#include "engine/Records.h"

class RecordsTest : public EngineFixture
{
protected:
    QList<Account> accounts;
    QList<PaymentEvent> feed;
    Storage files = storage();
    Records records{{[this] { return accounts; }, [this] { return feed; }}, files, calendar, clock};
};

TEST_F(RecordsTest, UpdatingAchievementsWritesTheFileWithIsoDates)
{
    clock->set(local(2026, 3, 3, 15));
    records.save({.bestMonthUSD = 20000, .bestMonthStartDate = local(2025, 11, 1, 0)});
    EXPECT_EQ(records.state().bestMonthUSD, 20000);
    EXPECT_EQ(records.state().achievements.size(), 3); // month_1000, month_5000, month_10000
    const QByteArray file = readFile(storage().pathOf(Storage::achievementsFile));
    EXPECT_TRUE(file.contains("\"bestMonthStartDate\":\"2025-10-31T23:00:00Z\"")) << file.constData();
    EXPECT_EQ(storage().loadAchievements(), records.state());
}
