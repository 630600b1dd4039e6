// The data files alone: two of them over one data folder stand for two processes.
#include "EngineFixture.h"
#include "engine/AccountFiles.h"

using namespace Qt::StringLiterals;

class AccountFilesTest : public EngineFixture
{
protected:
    Storage firstFolder = storage(), secondFolder = storage();
    AccountFiles firstFiles{firstFolder}, secondFiles{secondFolder};
    QList<Account> first = firstFiles.loadAccounts(nullptr), second = secondFiles.loadAccounts(nullptr);

    // What the engine does on every change: the list written whole.
    static void write(AccountFiles &files, QList<Account> &accounts) { EXPECT_TRUE(files.writeAccounts(accounts, accounts)); }
};

// Two processes on one data folder: each save reads the file again, so neither loses an
// account the other added, and a removal in one is not undone by the other.
TEST_F(AccountFilesTest, TwoWritersKeepEachOthersAccounts)
{
    const Account a = stripeAccount(u"A"_s), b = stripeAccount(u"B"_s), c = stripeAccount(u"C"_s), d = stripeAccount(u"D"_s);
    const auto names = [](const QList<Account> &accounts) {
        QStringList out;
        std::ranges::transform(accounts, std::back_inserter(out), &Account::name);
        return out.sort(), out;
    };
    int merged = 0;
    QObject::connect(&secondFiles, &AccountFiles::accountsMerged, [&] { ++merged; });
    first.append(a);
    write(firstFiles, first);
    second.append(b);
    write(secondFiles, second);
    EXPECT_EQ(names(storage().loadAccounts()), (QStringList{u"A"_s, u"B"_s}));
    EXPECT_EQ(names(second), (QStringList{u"A"_s, u"B"_s}));
    EXPECT_EQ(merged, 1) << "the owner hears of the account another process added";

    first.removeIf([&](const Account &x) { return x.id == a.id; });
    write(firstFiles, first);
    EXPECT_EQ(names(storage().loadAccounts()), QStringList{u"B"_s});
    second.append(c);
    write(secondFiles, second);
    EXPECT_EQ(names(storage().loadAccounts()), (QStringList{u"B"_s, u"C"_s})) << "A stays removed";
    EXPECT_EQ(names(second), (QStringList{u"B"_s, u"C"_s}));

    // An entry the file lost to damage is no removal.
    ASSERT_TRUE(writeFile(storage().pathOf(Storage::accountsFile),
                          "[{\"id\":\"" + b.id.toString(QUuid::WithoutBraces).toUtf8() + "\",\"enabled\":\"true\"}]"));
    second.append(d);
    write(secondFiles, second);
    EXPECT_EQ(names(storage().loadAccounts()), (QStringList{u"B"_s, u"C"_s, u"D"_s}));
}
