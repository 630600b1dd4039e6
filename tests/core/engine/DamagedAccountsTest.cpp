#include "EngineFixture.h"
#include "support/FaultyDisk.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;

// An accounts file that does not read is kept aside, or left alone when it cannot be read at all, and never costs the
// stored history: a refresh with no known account leaves the feed alone. Adding an account afterwards writes a new
// accounts file while the old bytes stay recoverable, or is refused while the file cannot be read.
TEST_F(EngineFixture, UnreadableAccountsKeepTheFeedAndTheirBytes)
{
    struct Row { const char *name; QByteArray bytes; FaultyDisk::Fault fault; QString note; };
    const QByteArray damaged = R"([{"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","enabled":"true"}])";
    const Row rows[] = {
        {"one account that does not decode", damaged, {}, {}},
        {"empty", "", {}, u"accounts.json could not be read (it is empty)."_s},
        {"permission denied", damaged, {.error = EACCES, .unreadable = u"accounts.json"_s},
         u"Cannot read accounts.json (permission denied); nothing is written to it until it can be read."_s},
        {"a FIFO", {}, {}, u"Cannot read accounts.json (it is not a regular file); nothing is written to it until it can be read."_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        QTemporaryDir folder;
        const Storage files(folder.path());
        files.fileURL();
        const QString accountsPath = files.pathOf(Storage::accountsFile);
        if (qstrcmp(row.name, "a FIFO") == 0)
            ASSERT_EQ(mkfifo(QFile::encodeName(accountsPath), 0600), 0);
        else
            ASSERT_TRUE(writeFile(accountsPath, row.bytes));
        const QList<PaymentEvent> stored{event(u"in_1"_s, clock->now().addingSeconds(-40 * 86400), RevenueKind::New, 49)};
        ASSERT_TRUE(files.saveFeed(stored));
        const QByteArray feedBytes = *files.read(Storage::feedFile);

        std::optional<FaultyDisk::Armed> disk(std::in_place, folder.path(), row.fault);
        EngineEnvironment env = environment();
        env.storage = files;
        RevenueEngine &e = start(env);
        ASSERT_EQ(e.damagedFiles().size(), 1);
        if (!row.note.isEmpty())
            EXPECT_EQ(DamagedFiles::describe(e.damagedFiles()[0]), row.note);
        QCoro::waitFor(e.refresh());
        EXPECT_EQ(e.feed(), stored);
        EXPECT_EQ(*files.read(Storage::feedFile), feedBytes);

        e.upsertAccount(stripeAccount(u"New"_s));
        if (e.damagedFiles()[0].blocksWrites) {
            EXPECT_EQ(e.lastError(), std::optional(u"Couldn't save your accounts: cannot read accounts.json (%1)"_s
                                                       .arg(e.damagedFiles()[0].reason)));
            disk.reset();
            if (row.fault.error)
                EXPECT_EQ(readFile(accountsPath), row.bytes);
            else
                EXPECT_FALSE(QFileInfo(accountsPath).isFile()) << "the FIFO is still there";
        } else {
            EXPECT_FALSE(e.lastError().has_value());
            EXPECT_EQ(files.loadAccounts().size(), 1);
            EXPECT_EQ(readFile(e.damagedFiles()[0].keptAt), row.bytes) << "an unreadable copy reads as empty";
        }
        engine.reset();
    }
}
