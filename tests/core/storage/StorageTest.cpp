#include "storage/Storage.h"
#include "support/FaultyDisk.h"
#include "support/TestUtil.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QUuid accountA = QUuid::fromString(u"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_s);
const QUuid accountB = QUuid::fromString(u"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_s);
const Date noon = Date::fromUnix(1773144000); // 2026-03-10T12:00:00Z
const char *const files[] = {Storage::accountsFile, Storage::preferencesFile, Storage::feedFile,
                             Storage::achievementsFile, Storage::syncStateFile};

QHash<QString, QByteArray> contents(const Storage &storage)
{
    QHash<QString, QByteArray> bytes;
    for (const char *file : files)
        bytes.insert(QString::fromLatin1(file), readFile(storage.pathOf(file)));
    return bytes;
}

struct StorageTest : ::testing::Test
{
    QTemporaryDir temp;
    QString folder = QDir(temp.path()).filePath(u"Quorvane"_s);
    Storage storage{folder};

    QString path(const char *file) const { return storage.pathOf(file); }
};

Account account(const QString &name)
{
    Account a = Account::newAccount(AccountProvider::Stripe);
    a.id = accountA;
    a.name = name;
    a.stripeRestrictedKey = u"rk_live_51Pgaf"_s;
    return a;
}

PaymentEvent event(const QString &id, Date date)
{
    return {.id = id, .date = date, .amount = 29, .currency = u"eur"_s, .usdAmount = 31.32, .accountId = accountA,
            .accountName = u"Acme EU"_s, .kind = RevenueKind::Recurring, .description = u"Team plan (monthly)"_s,
            .customerEmail = u"lena.fischer@example.de"_s};
}

Preferences preferences()
{
    return {.saleSound = false, .dashboardCurrency = u"GBP"_s, .refreshSeconds = 120,
            .selectedRange = TimeRange::Last30Days,
            .customRangeStart = noon.addingSeconds(-14 * 86400 + 0.125), .customRangeEnd = noon,
            .mrrCountTrials = true, .menubarShowsMrr = true, .mrrGoalUsd = 25000};
}

// Every file holds something that is not its default, so a load that falls back shows.
void writeAll(const Storage &storage)
{
    ASSERT_TRUE(storage.saveAccounts({account(u"Acme"_s)}));
    ASSERT_TRUE(storage.savePreferences(preferences()));
    ASSERT_TRUE(storage.saveFeed({event(u"in_1"_s, noon)}));
    ASSERT_TRUE(storage.saveAchievements({{{AchievementPeriod::Day, 1000, noon}}, 1234, noon}));
    ASSERT_TRUE(storage.saveSyncState({{accountA, noon}}));
}

QJsonObject objectOf(const QByteArray &bytes)
{
    return QJsonDocument::fromJson(bytes).object();
}

} // namespace

TEST_F(StorageTest, EveryFileRoundTripsInItsDateForm)
{
    writeAll(storage);
    EXPECT_EQ(storage.loadAccounts(), QList<Account>{account(u"Acme"_s)});
    // Preferences keep sub-second precision: their dates are plain numbers.
    EXPECT_EQ(storage.loadPreferences(), preferences());
    EXPECT_EQ(objectOf(readFile(path(Storage::preferencesFile)))["customRangeStart"_L1].toDouble(),
              preferences().customRangeStart.referenceSeconds());
    EXPECT_EQ(storage.loadFeed(), QList<PaymentEvent>{event(u"in_1"_s, noon)});
    EXPECT_TRUE(readFile(path(Storage::feedFile)).contains(R"("date":"2026-03-10T12:00:00Z")"));
    const auto achievements = storage.loadAchievements();
    ASSERT_TRUE(achievements.has_value());
    EXPECT_EQ(achievements->bestDayDate, noon);
    EXPECT_TRUE(readFile(path(Storage::achievementsFile)).contains(R"("bestDayDate":"2026-03-10T12:00:00Z")"));
    EXPECT_EQ(storage.loadSyncState(), (QHash<QUuid, Date>{{accountA, noon}}));
    // Compact: no indentation or line breaks in any file.
    for (const char *file : files)
        EXPECT_FALSE(readFile(path(file)).contains('\n')) << file;
}

TEST_F(StorageTest, EveryUnreadableFileYieldsItsDefaultAndLeavesTheOthers)
{
    enum class Put { Bytes, Nothing, Directory, Fifo, LinkOut };
    // `reason`: the damage reported; a file that cannot be read at all is never written over.
    struct BadFile { const char *name; QByteArray bytes; Put put = Put::Bytes; QString reason; FaultyDisk::Fault fault = {}; };
    const QByteArray goodEvent = encodeFeed({event(u"in_1"_s, noon)}).mid(1).chopped(1);
    const QByteArray goodAccount = QJsonDocument(QJsonArray{toJson(account(u"Acme"_s))}).toJson(QJsonDocument::Compact);
    const BadFile cases[] = {
        {"missing", {}, Put::Nothing},
        {"empty", "", Put::Bytes, u"it is empty"_s},
        {"truncated", QByteArray("[" + goodEvent + "," + goodEvent + "]").left(120)},
        {"not JSON", "\x89PNG\r\n\x1a\n binary"},
        {"wrong top-level type", R"("just a string")"},
        {"number at top level", "42"},
        {"one bad element", "[" + goodEvent + "," + QByteArray(goodEvent).replace("recurring", "payout") + "]"},
        {"account element missing a key", QByteArray(goodAccount).replace(R"("enabled":true,)", "")},
        {"null top level", "null"},
        {"a directory in its place", {}, Put::Directory, u"it is not a regular file"_s},
        {"a FIFO in its place", {}, Put::Fifo, u"it is not a regular file"_s},
        {"a link out of the folder", {}, Put::LinkOut, u"it is a link to a place outside the data folder"_s},
        {"permission denied", "kept", Put::Bytes, u"permission denied"_s, {.error = EACCES}},
        {"failing disk under a sound document", "[]", Put::Bytes, u"the disk reported an error"_s, {.error = EIO}},
    };
    for (const char *file : files) {
        for (const BadFile &bad : cases) {
            SCOPED_TRACE(std::string(file) + ": " + bad.name);
            QTemporaryDir dir;
            Storage s(QDir(dir.path()).filePath(u"Quorvane"_s));
            writeAll(s);
            const QHash<QString, QByteArray> before = contents(s);
            const QString path = s.pathOf(file), outside = QDir(dir.path()).filePath(u"elsewhere"_s);
            ASSERT_TRUE(writeFile(outside, "someone else's") && QFile::setPermissions(outside, QFile::ReadOwner | QFile::ReadOther));

            QFile::remove(path);
            const bool put = bad.put == Put::Nothing || (bad.put == Put::Bytes && writeFile(path, bad.bytes))
                || (bad.put == Put::Directory && QDir().mkpath(path))
                || (bad.put == Put::Fifo && mkfifo(QFile::encodeName(path), 0600) == 0)
                || (bad.put == Put::LinkOut && QFile::link(outside, path));
            ASSERT_TRUE(put);
            FaultyDisk::Fault fault = bad.fault;
            fault.unreadable = bad.fault.error ? QString::fromLatin1(file) : QString();
            const auto is = [file](const char *name) { return qstrcmp(file, name) == 0; };
            QList<FileDamage> damaged;
            {
                FaultyDisk::Armed disk(s.folder(), fault);
                // The bad file gives its default (a feed keeps its readable events); every other file still loads.
                EXPECT_EQ(s.loadAccounts(&damaged).isEmpty(), is(Storage::accountsFile));
                EXPECT_EQ(!s.loadPreferences(&damaged).has_value(), is(Storage::preferencesFile));
                EXPECT_EQ(s.loadFeed(&damaged).isEmpty(), is(Storage::feedFile) && qstrcmp(bad.name, "one bad element") != 0);
                EXPECT_EQ(!s.loadAchievements(&damaged).has_value(), is(Storage::achievementsFile));
                EXPECT_EQ(s.loadSyncState(&damaged).isEmpty(), is(Storage::syncStateFile));
                s.tightenFolder();
            }
            // Loading never rewrites anything, the bad file included, nor a link's target.
            for (const char *other : files)
                if (qstrcmp(other, file) != 0)
                    EXPECT_EQ(readFile(s.pathOf(other)), before.value(QString::fromLatin1(other))) << other;
            if (bad.put == Put::Bytes)
                EXPECT_EQ(readFile(path), bad.bytes);
            EXPECT_EQ(QFileInfo(outside).permissions() & QFile::ReadOther, QFile::ReadOther);
            if (bad.reason.isEmpty())
                continue;
            const bool blocks = bad.reason != u"it is empty"_s;
            EXPECT_EQ(damaged, QList<FileDamage>({{QString::fromLatin1(file), {}, 0, bad.reason, blocks}}));
            // Whatever such a file holds is unknown, not absent: no save replaces it, also once it reads again.
            for (const FileDamage &d : std::as_const(damaged))
                if (d.blocksWrites) // as the engine does
                    s.holdWrites(d.file, d.reason);
            const Storage::Saved saved = is(Storage::accountsFile) ? s.saveAccounts({})
                : is(Storage::feedFile)                         ? s.saveFeed({})
                : is(Storage::syncStateFile)                    ? s.saveSyncState({})
                : is(Storage::preferencesFile)                  ? s.savePreferences({})
                                                                : s.saveAchievements({});
            EXPECT_EQ(saved ? QString() : saved.error(), blocks ? u"cannot read %1 (%2)"_s.arg(QString::fromLatin1(file), bad.reason) : QString());
            if (bad.put == Put::Bytes && blocks)
                EXPECT_EQ(readFile(path), bad.bytes);
            EXPECT_EQ(readFile(outside), "someone else's");
        }
    }
}

TEST_F(StorageTest, PreferencesWithIsoDatesAreNotRead)
{
    storage.fileURL(); // creates the folder
    ASSERT_TRUE(writeFile(path(Storage::preferencesFile),
                          QJsonDocument(toJson(preferences(), DateForm::Iso8601)).toJson(QJsonDocument::Compact)));
    EXPECT_FALSE(storage.loadPreferences().has_value());
    // The same content with number dates is read, so the date form alone made the difference.
    ASSERT_TRUE(writeFile(path(Storage::preferencesFile),
                          QJsonDocument(toJson(preferences(), DateForm::ReferenceSeconds)).toJson()));
    EXPECT_EQ(storage.loadPreferences(), preferences());
    // A file written before the sale-sound switch and the MRR settings existed reads them
    // as they were: sound on, MRR off.
    QJsonObject older = toJson(preferences());
    for (const char *key : {"saleSound", "mrrCountTrials", "menubarShowsMrr", "mrrGoalUsd"})
        older.remove(QLatin1StringView(key));
    ASSERT_TRUE(writeFile(path(Storage::preferencesFile), QJsonDocument(older).toJson()));
    const std::optional<Preferences> read = storage.loadPreferences();
    ASSERT_TRUE(read.has_value());
    EXPECT_TRUE(read->saleSound);
    EXPECT_FALSE(read->mrrCountTrials);
    EXPECT_FALSE(read->menubarShowsMrr);
    EXPECT_EQ(read->mrrGoalUsd, 0);
}

TEST_F(StorageTest, SyncStateDropsKeysThatAreNotUuids)
{
    struct Row { const char *name; QByteArray document; QHash<QUuid, Date> expected; };
    const Row rows[] = {
        {"one bad key", R"({"not-a-uuid":"2026-03-10T12:00:00Z","6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F":"2026-03-10T12:00:00Z"})",
         {{accountA, noon}}},
        {"braced key", R"({"{6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F}":"2026-03-10T12:00:00Z"})", {}},
        {"lower-case key", R"({"0b7a1c3d-5e6f-4a8b-9c0d-1e2f3a4b5c6d":"2026-03-10T14:00:00+02:00"})", {{accountB, noon}}},
        {"value not a date", R"({"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F":"2026-03-10T12:00:00Z","0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D":794836800})",
         {}},
        {"array", R"(["6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"])", {}},
    };
    storage.fileURL(); // creates the folder
    for (const Row &row : rows) {
        ASSERT_TRUE(writeFile(path(Storage::syncStateFile), row.document)) << row.name;
        EXPECT_EQ(storage.loadSyncState(), row.expected) << row.name;
    }
}

TEST_F(StorageTest, SyncStateIsSavedInWholeSeconds)
{
    ASSERT_TRUE(storage.saveSyncState({{accountA, noon.addingSeconds(0.750)}, {accountB, noon.addingSeconds(-60)}}));
    EXPECT_EQ(objectOf(readFile(path(Storage::syncStateFile))),
              QJsonObject({{"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F"_L1, "2026-03-10T12:00:00Z"_L1},
                           {"0B7A1C3D-5E6F-4A8B-9C0D-1E2F3A4B5C6D"_L1, "2026-03-10T11:59:00Z"_L1}}));
    EXPECT_EQ(storage.loadSyncState(), (QHash<QUuid, Date>{{accountA, noon}, {accountB, noon.addingSeconds(-60)}}));
}

TEST_F(StorageTest, AWriteThatCannotCompleteLeavesThePreviousFileAndSaysWhy)
{
    writeAll(storage);
    QList<PaymentEvent> big;
    for (int i = 0; i < 2000; ++i)
        big.append(event(u"in_%1"_s.arg(i), noon));
    const QHash<QString, QByteArray> before = contents(storage);
    const QStringList filesBefore = QDir(folder).entryList(QDir::Files);

    // Short writes hit the large feed; the other faults every file, however small.
    struct Row { const char *name; FaultyDisk::Fault fault; QString reason; bool everyFile = true; };
    const Row rows[] = {
        {"disk full at the first byte", {.error = ENOSPC, .bytesAccepted = 0}, u"the disk is full"_s},
        {"quota used up after a short write", {.error = EDQUOT, .bytesAccepted = 100}, u"the disk quota is used up"_s, false},
        {"disk full part-way", {.error = ENOSPC, .bytesAccepted = 40'000}, u"the disk is full"_s, false},
        {"failing disk at the sync", {.error = EIO, .sync = true}, u"the disk reported an error"_s},
        {"the rename refused", {.error = EIO, .rename = true}, u"the disk reported an error"_s},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        FaultyDisk::Armed disk(folder, row.fault);
        const std::optional<QString> expected = row.reason;
        const auto reason = [](const Storage::Saved &saved) { return saved ? std::nullopt : std::optional(saved.error()); };
        EXPECT_EQ(reason(storage.saveFeed(big)), expected);
        if (row.everyFile) {
            EXPECT_EQ(reason(storage.saveAccounts({account(u"Other"_s)})), expected);
            EXPECT_EQ(reason(storage.savePreferences({})), expected);
            EXPECT_EQ(reason(storage.saveAchievements({})), expected);
            EXPECT_EQ(reason(storage.saveSyncState({})), expected);
            const auto updated = storage.updateAccounts({account(u"Other"_s)}, {accountA});
            EXPECT_EQ(updated ? std::nullopt : std::optional(updated.error()), expected);
        }
        EXPECT_EQ(contents(storage), before);
        EXPECT_EQ(QDir(folder).entryList(QDir::Files), filesBefore) << "no temporary file is left behind";
    }
    EXPECT_TRUE(storage.saveFeed(big)) << "the disk is fine again";
}

TEST_F(StorageTest, WritesFailCleanlyWhereNoFolderCanBe)
{
    // A regular file where the data folder's parent should be: nothing can be created.
    const QString blocker = QDir(temp.path()).filePath(u"blocker"_s);
    ASSERT_TRUE(writeFile(blocker, "x"));
    const Storage blocked(QDir(blocker).filePath(u"Quorvane"_s));
    EXPECT_FALSE(blocked.saveFeed({event(u"in_1"_s, noon)}));
    EXPECT_FALSE(blocked.saveAccounts({account(u"Acme"_s)}));
    EXPECT_FALSE(blocked.saveSyncState({{accountA, noon}}));
    EXPECT_TRUE(blocked.loadFeed().isEmpty());
    EXPECT_TRUE(blocked.loadAccounts().isEmpty());
    EXPECT_EQ(readFile(blocker), "x");
}

TEST_F(StorageTest, ALargeFeedLoadsThroughTheMapping)
{
    // Large enough that pages are handed back while the reader goes on.
    QList<PaymentEvent> feed;
    for (int i = 0; i < 40'000; ++i)
        feed.append(event(u"in_%1"_s.arg(i), noon.addingSeconds(-i * 60.0)));
    ASSERT_TRUE(storage.saveFeed(feed));
    ASSERT_GT(QFileInfo(path(Storage::feedFile)).size(), 8 * 1024 * 1024);
    EXPECT_EQ(storage.loadFeed(), feed);

    // A bad last element is found after the early pages were given back; the general path
    // re-reads them and leaves out that element alone.
    QByteArray bytes = readFile(path(Storage::feedFile));
    bytes.replace(bytes.lastIndexOf("recurring"), 9, "recurrinX");
    ASSERT_TRUE(writeFile(path(Storage::feedFile), bytes));
    EXPECT_EQ(storage.loadFeed(), feed.mid(0, feed.size() - 1));
    // And an unusual but valid last element still loads whole.
    bytes.replace(bytes.lastIndexOf("recurrinX"), 9, "recurring");
    bytes.insert(bytes.size() - 2, R"(,"meta":{"source":"import"})");
    ASSERT_TRUE(writeFile(path(Storage::feedFile), bytes));
    EXPECT_EQ(storage.loadFeed(), feed);
}
