#include "EngineFixture.h"

using namespace Qt::StringLiterals;

// An accounts file that does not read is kept aside and never costs the stored history: a
// refresh with no known account leaves the feed alone, and adding an account afterwards
// writes a new accounts file while the old bytes stay recoverable.
TEST_F(EngineFixture, UnreadableAccountsKeepTheFeedAndTheirBytes)
{
    const QByteArray damaged = R"([{"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","enabled":"true"}])";
    storage().fileURL();
    ASSERT_TRUE(writeFile(storage().pathOf(Storage::accountsFile), damaged));
    const QList<PaymentEvent> stored{event(u"in_1"_s, clock->now().addingSeconds(-40 * 86400), RevenueKind::New, 49)};
    ASSERT_TRUE(storage().saveFeed(stored));
    const QByteArray feedBytes = *storage().read(Storage::feedFile);

    RevenueEngine &e = start();
    ASSERT_EQ(e.damagedFiles().size(), 1);
    EXPECT_EQ(e.damagedFiles()[0].skipped, 1);
    QCoro::waitFor(e.refresh());
    EXPECT_EQ(e.feed(), stored);
    EXPECT_EQ(*storage().read(Storage::feedFile), feedBytes);

    e.upsertAccount(stripeAccount(u"New"_s));
    EXPECT_EQ(storage().loadAccounts().size(), 1);
    EXPECT_EQ(readFile(e.damagedFiles()[0].keptAt), damaged) << "an unreadable copy reads as empty";
}
