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
    return {.dashboardCurrency = u"GBP"_s, .refreshSeconds = 120, .selectedRange = TimeRange::Last30Days,
            .customRangeStart = noon.addingSeconds(-14 * 86400 + 0.125), .customRangeEnd = noon};
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
    for (const char *file : {Storage::accountsFile, Storage::preferencesFile, Storage::feedFile,
                             Storage::achievementsFile, Storage::syncStateFile}) {
        SCOPED_TRACE(file);
        EXPECT_FALSE(readFile(path(file)).contains('\n'));
    }
}

TEST_F(StorageTest, EveryUnreadableFileYieldsItsDefaultAndLeavesTheOthers)
{
    struct BadFile { const char *name; QByteArray bytes; bool directory = false; };
    const QByteArray goodEvent = encodeFeed({event(u"in_1"_s, noon)}).mid(1).chopped(1);
    const QByteArray goodAccount = QJsonDocument(QJsonArray{toJson(account(u"Acme"_s))}).toJson(QJsonDocument::Compact);
    const BadFile cases[] = {
        {"missing", {}},
        {"empty", ""},
        {"truncated", QByteArray("[" + goodEvent + "," + goodEvent + "]").left(120)},
        {"not JSON", "\x89PNG\r\n\x1a\n binary"},
        {"wrong top-level type", R"("just a string")"},
        {"number at top level", "42"},
        {"one bad element", "[" + goodEvent + "," + QByteArray(goodEvent).replace("recurring", "payout") + "]"},
        {"account element missing a key", QByteArray(goodAccount).replace(R"("enabled":true,)", "")},
        {"null top level", "null"},
        {"a directory in its place", {}, true},
    };
    const char *files[] = {Storage::accountsFile, Storage::preferencesFile, Storage::feedFile,
                           Storage::achievementsFile, Storage::syncStateFile};
    for (const char *file : files) {
        for (const BadFile &bad : cases) {
            SCOPED_TRACE(std::string(file) + ": " + bad.name);
            QTemporaryDir dir;
            const Storage s(dir.path());
            writeAll(s);
            QHash<QString, QByteArray> before;
            for (const char *other : files)
                before.insert(QString::fromLatin1(other), readFile(s.pathOf(other)));

            QFile::remove(s.pathOf(file));
            if (bad.directory)
                ASSERT_TRUE(QDir().mkpath(s.pathOf(file)));
            else if (qstrcmp(bad.name, "missing") != 0)
                ASSERT_TRUE(writeFile(s.pathOf(file), bad.bytes));

            const auto is = [file](const char *name) { return qstrcmp(file, name) == 0; };
            // The bad file gives its default (a feed keeps its readable events); every other
            // file still loads.
            EXPECT_EQ(s.loadAccounts().isEmpty(), is(Storage::accountsFile));
            EXPECT_EQ(!s.loadPreferences().has_value(), is(Storage::preferencesFile));
            EXPECT_EQ(s.loadFeed().isEmpty(), is(Storage::feedFile) && qstrcmp(bad.name, "one bad element") != 0);
            EXPECT_EQ(!s.loadAchievements().has_value(), is(Storage::achievementsFile));
            EXPECT_EQ(s.loadSyncState().isEmpty(), is(Storage::syncStateFile));
            // Loading never rewrites anything, the bad file included.
            for (const char *other : files)
                if (qstrcmp(other, file) != 0)
                    EXPECT_EQ(readFile(s.pathOf(other)), before.value(QString::fromLatin1(other))) << other;
            if (!bad.directory && qstrcmp(bad.name, "missing") != 0)
                EXPECT_EQ(readFile(s.pathOf(file)), bad.bytes);
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
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(writeFile(path(Storage::syncStateFile), row.document));
        EXPECT_EQ(storage.loadSyncState(), row.expected);
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
    const char *files[] = {Storage::accountsFile, Storage::preferencesFile, Storage::feedFile,
                           Storage::achievementsFile, Storage::syncStateFile};
    QHash<QString, QByteArray> before;
    for (const char *file : files)
        before.insert(QString::fromLatin1(file), readFile(path(file)));
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
        for (const char *file : files)
            EXPECT_EQ(readFile(path(file)), before.value(QString::fromLatin1(file))) << file;
        EXPECT_EQ(QDir(folder).entryList(QDir::Files), filesBefore) << "no temporary file is left behind";
    }
    EXPECT_TRUE(storage.saveFeed(big)) << "the disk is fine again";
}

TEST_F(StorageTest, AFileThatCannotBeReadIsReportedAndNeverWrittenOver)
{
    struct Row { const char *name; FaultyDisk::Fault fault; QString reason; bool blocksWrites = true; };
    const Row rows[] = {
        {"permission denied", {.error = EACCES}, u"permission denied"_s},
        {"failing disk", {.error = EIO}, u"the disk reported an error"_s},
        {"FIFO", {}, u"it is not a regular file"_s},
        {"link out of the folder", {}, u"it is a link to a place outside the data folder"_s},
        {"empty", {}, u"it is empty"_s, false},
    };
    const char *files[] = {Storage::accountsFile, Storage::preferencesFile, Storage::feedFile,
                           Storage::achievementsFile, Storage::syncStateFile};
    for (const char *file : files) {
        for (const Row &row : rows) {
            if (row.fault.error == EIO && qstrcmp(file, Storage::feedFile) == 0)
                continue; // the feed is mapped, not read
            SCOPED_TRACE(std::string(file) + ": " + row.name);
            QTemporaryDir dir;
            Storage s(QDir(dir.path()).filePath(u"Quorvane"_s));
            writeAll(s);
            const QString outside = QDir(dir.path()).filePath(u"elsewhere.json"_s);
            ASSERT_TRUE(writeFile(outside, "someone else's"));
            ASSERT_TRUE(QFile::setPermissions(outside, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
            const QByteArray original = readFile(s.pathOf(file));
            const QString name = QString::fromLatin1(file);
            if (qstrcmp(row.name, "FIFO") == 0)
                ASSERT_TRUE(QFile::remove(s.pathOf(file)) && mkfifo(QFile::encodeName(s.pathOf(file)), 0600) == 0);
            if (qstrcmp(row.name, "link out of the folder") == 0)
                ASSERT_TRUE(QFile::remove(s.pathOf(file)) && QFile::link(outside, s.pathOf(file)));
            if (qstrcmp(row.name, "empty") == 0)
                ASSERT_TRUE(writeFile(s.pathOf(file), {}));
            FaultyDisk::Fault fault = row.fault;
            fault.unreadable = row.fault.error ? name : QString();
            {
                FaultyDisk::Armed disk(s.folder(), fault);
                QList<FileDamage> damaged;
                (void)s.loadAccounts(&damaged), (void)s.loadPreferences(&damaged), (void)s.loadFeed(&damaged);
                (void)s.loadAchievements(&damaged), (void)s.loadSyncState(&damaged);
                EXPECT_EQ(damaged, QList<FileDamage>({{name, {}, 0, row.reason, row.blocksWrites}}));
                s.tightenFolder();
                EXPECT_EQ(QFileInfo(outside).permissions() & QFile::ReadOther, QFile::ReadOther);
                for (const FileDamage &d : std::as_const(damaged)) // as the engine does
                    if (d.blocksWrites)
                        s.holdWrites(d.file, d.reason);
            }
            // Whatever it holds is unknown, not absent: no save may replace it, also once it
            // reads again.
            const Storage::Saved saved = qstrcmp(file, Storage::accountsFile) == 0 ? s.saveAccounts({})
                : qstrcmp(file, Storage::feedFile) == 0                       ? s.saveFeed({})
                : qstrcmp(file, Storage::syncStateFile) == 0                  ? s.saveSyncState({})
                : qstrcmp(file, Storage::preferencesFile) == 0                ? s.savePreferences({})
                                                                              : s.saveAchievements({});
            EXPECT_EQ(saved ? QString() : saved.error(),
                      row.blocksWrites ? u"cannot read %1 (%2)"_s.arg(name, row.reason) : QString());
            EXPECT_EQ(readFile(outside), "someone else's");
            if (row.fault.error)
                EXPECT_EQ(readFile(s.pathOf(file)), original);
        }
    }
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
