#include "storage/FilePermissions.h"
#include "storage/Storage.h"
#include "support/TestUtil.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const char *const goodAccount = R"({"id":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","name":"Acme","provider":"stripe",
"stripeRestrictedKey":"rk_1","paypalClientId":"","paypalSecret":"","paypalLive":true,"enabled":true})";
const char *const goodEvent = R"({"id":"in_1","date":"2026-03-10T12:00:00Z","amount":29,"currency":"usd",
"usdAmount":29,"accountId":"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F","accountName":"Acme","kind":"new","description":"Pro"})";

QByteArray replaced(const char *json, const char *from, const char *to)
{
    return QByteArray(json).replace(from, to);
}

QByteArray array(std::initializer_list<QByteArray> elements)
{
    return '[' + QList<QByteArray>(elements).join(',') + ']';
}

int mode(const QString &path)
{
    struct stat info{};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 ? int(info.st_mode & 0777) : -1;
}

struct DamagedFilesTest : ::testing::Test
{
    QTemporaryDir temp;
    Storage storage{temp.path()};

    void put(const char *file, const QByteArray &bytes) const { ASSERT_TRUE(writeFile(storage.pathOf(file), bytes)); }
    QStringList copiesOf(const char *file) const
    {
        return QDir(temp.path()).entryList({QString::fromLatin1(file) + u".damaged-*"_s}, QDir::Files, QDir::Name);
    }
};

} // namespace

// A file that does not decode completely keeps what can be read, and its bytes are kept
// aside, private, before anything could write over it; the file itself stays in place.
TEST_F(DamagedFilesTest, ReadablePartsAreUsedAndTheBytesAreKeptAside)
{
    using Load = std::function<qsizetype(const Storage &, QList<FileDamage> *)>;
    const Load accounts = [](const Storage &s, QList<FileDamage> *d) { return s.loadAccounts(d).size(); };
    const Load feed = [](const Storage &s, QList<FileDamage> *d) { return s.loadFeed(d).size(); };
    const Load prefs = [](const Storage &s, QList<FileDamage> *d) { return qsizetype(s.loadPreferences(d).has_value()); };
    const Load achievements = [](const Storage &s, QList<FileDamage> *d) {
        return qsizetype(s.loadAchievements(d).has_value());
    };
    const Load sync = [](const Storage &s, QList<FileDamage> *d) { return s.loadSyncState(d).size(); };
    const Load mrr = [](const Storage &s, QList<FileDamage> *d) { return s.loadMrrSnapshots(d).size(); };
    const QByteArray snapshot = R"({"approximate":false,"customers":3,"day":"2026-03-10T00:00:00Z","mrrUsd":120.5})";
    const QByteArray otherAccount = replaced(goodAccount, "6F1C2B9E", "0B7A1C3D");
    const struct { const char *name, *file; QByteArray bytes; Load load; qsizetype loaded, skipped; } cases[] = {
        {"a mistyped flag loses one account", Storage::accountsFile,
         array({goodAccount, replaced(goodAccount, "\"enabled\":true", "\"enabled\":\"true\""), otherAccount}), accounts, 2, 1},
        {"a null credential loses one account", Storage::accountsFile,
         array({replaced(goodAccount, "\"paypalClientId\":\"\"", "\"paypalClientId\":null"), otherAccount}), accounts, 1, 1},
        {"a truncated accounts file", Storage::accountsFile, QByteArray("[") + goodAccount, accounts, 0, 0},
        {"a newer version's event kind", Storage::feedFile,
         array({goodEvent, replaced(replaced(goodEvent, "in_1", "po_1"), "\"new\"", "\"payout\"")}), feed, 1, 1},
        {"an absurd amount", Storage::feedFile,
         array({replaced(goodEvent, "\"usdAmount\":29", "\"usdAmount\":1.79e308"), replaced(goodEvent, "in_1", "in_2")}),
         feed, 1, 1},
        {"a truncated feed", Storage::feedFile, QByteArray("[") + goodEvent, feed, 0, 0},
        {"preferences missing a key", Storage::preferencesFile, "{\"showCaptured\":true}", prefs, 0, 0},
        {"an absurd best day", Storage::achievementsFile, "{\"achievements\":[],\"bestDayUSD\":1e300,\"bestWeekUSD\":0,"
                                                        "\"bestMonthUSD\":0}", achievements, 0, 0},
        {"a sync date that is no date", Storage::syncStateFile,
         "{\"6F1C2B9E-4A7D-4C3B-9E2F-1A2B3C4D5E6F\":\"yesterday\"}", sync, 0, 0},
        {"an MRR snapshot without its figure", Storage::mrrSnapshotsFile,
         array({snapshot, replaced(snapshot.constData(), "\"mrrUsd\":120.5", "\"mrrUsd\":\"120\"")}), mrr, 1, 1},
        {"a truncated snapshot file", Storage::mrrSnapshotsFile, '[' + snapshot, mrr, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QTemporaryDir dir;
        const Storage s(dir.path());
        ASSERT_TRUE(writeFile(s.pathOf(c.file), c.bytes));

        QList<FileDamage> damaged;
        EXPECT_EQ(c.load(s, &damaged), c.loaded);
        ASSERT_EQ(damaged.size(), 1);
        EXPECT_EQ(damaged[0].file, QString::fromLatin1(c.file));
        EXPECT_EQ(damaged[0].skipped, c.skipped);
        EXPECT_EQ(readFile(damaged[0].keptAt), c.bytes);
        EXPECT_EQ(mode(damaged[0].keptAt), 0600);
        EXPECT_EQ(*s.read(c.file), c.bytes) << "the file stays where it was";
    }
}

TEST_F(DamagedFilesTest, TheSameDamageIsKeptOnceAndOnlyTheLastFewCopiesSurvive)
{
    for (int start = 0; start < 2; ++start) {
        put(Storage::accountsFile, "[{");
        storage.loadAccounts();
    }
    EXPECT_EQ(copiesOf(Storage::accountsFile).size(), 1);
    for (int i = 0; i < 6; ++i)
        DamagedFiles::keepCopy(temp.path(), u"feed.json"_s, QByteArray::number(i), u"20260310T12000%1Z"_s.arg(i));
    EXPECT_EQ(copiesOf(Storage::feedFile),
              (QStringList{u"feed.json.damaged-20260310T120003Z"_s, u"feed.json.damaged-20260310T120004Z"_s,
                           u"feed.json.damaged-20260310T120005Z"_s}));
}

TEST(DamagedFiles, DescriptionNamesTheFileWhatWasLostAndTheCopy)
{
    EXPECT_EQ(DamagedFiles::describe({u"accounts.json"_s, u"/d/accounts.json.damaged-X"_s, 0}),
              u"accounts.json could not be read; a copy was kept as /d/accounts.json.damaged-X."_s);
    EXPECT_EQ(DamagedFiles::describe({u"feed.json"_s, u"/d/f"_s, 2}),
              u"2 entries of feed.json could not be read and were left out; a copy was kept as /d/f."_s);
    EXPECT_EQ(DamagedFiles::describe({u"feed.json"_s, {}, 1}),
              u"1 entry of feed.json could not be read and was left out; no copy could be kept."_s);
}

// Enumerated preferences outside their table fall back one by one; the file is not damaged.
TEST_F(DamagedFilesTest, UnknownPreferenceChoicesFallBackToTheirDefault)
{
    Preferences stored;
    stored.refreshSeconds = 120;
    const struct { const char *name; QString currency, range, expectedCurrency; TimeRange expectedRange; } cases[] = {
        {"a megabyte of currency", QString(1 << 20, u'X'), u"last7Days"_s, u"USD"_s, TimeRange::Last7Days},
        {"an unknown code and range", u"XYZ"_s, u"fortnight"_s, u"USD"_s, TimeRange::Mtd},
        {"a rate-table code", u"CHF"_s, u"custom"_s, u"CHF"_s, TimeRange::Custom},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QJsonObject o = toJson(stored, DateForm::ReferenceSeconds);
        o.insert("dashboardCurrency"_L1, c.currency);
        o.insert("selectedRange"_L1, c.range);
        put(Storage::preferencesFile, QJsonDocument(o).toJson());
        QList<FileDamage> damaged;
        const auto loaded = storage.loadPreferences(&damaged);
        ASSERT_TRUE(loaded.has_value());
        EXPECT_EQ(loaded->dashboardCurrency, c.expectedCurrency);
        EXPECT_EQ(loaded->selectedRange, c.expectedRange);
        EXPECT_EQ(loaded->refreshSeconds, 120);
        EXPECT_TRUE(damaged.isEmpty());
    }
}

// Whatever the umask, the folder is the user's alone and so is every file written in it;
// copies an interrupted save left behind go at start, kept damaged copies stay.
TEST(FilePermissions, FolderAndFilesArePrivateAndLeftoverTempsAreRemoved)
{
    QTemporaryDir temp;
    const QString folder = QDir(temp.path()).filePath(u"Quorvane"_s);
    const mode_t previous = ::umask(0);
    const Storage storage(folder);
    storage.fileURL();
    ASSERT_TRUE(storage.saveFeed({}));
    ASSERT_TRUE(storage.saveAccounts({}));
    for (const char *name : {"feed.json.AbC123", "accounts.json.damaged-20260310T120000Z", "icons/a.png"}) {
        const QString path = QDir(folder).filePath(QString::fromLatin1(name));
        QDir().mkpath(QFileInfo(path).path());
        ASSERT_TRUE(writeFile(path, {}));
        QFile::setPermissions(path, QFileDevice::Permissions(0x6666)); // rw for everyone
    }
    QFile::setPermissions(QDir(folder).filePath(u"icons"_s), QFileDevice::Permissions(0x7777));
    ::umask(previous);

    EXPECT_EQ(mode(folder), 0700);
    EXPECT_EQ(mode(storage.pathOf(Storage::feedFile)), 0600);
    EXPECT_EQ(mode(storage.pathOf(Storage::accountsFile)), 0600);
    storage.tightenFolder();
    EXPECT_FALSE(QFileInfo::exists(QDir(folder).filePath(u"feed.json.AbC123"_s)));
    EXPECT_EQ(mode(QDir(folder).filePath(u"accounts.json.damaged-20260310T120000Z"_s)), 0600);
    EXPECT_EQ(mode(QDir(folder).filePath(u"icons"_s)), 0700);
}
