#include "Storage.h"

#include "json/AmountBounds.h"
#include "storage/AccountsMerge.h"
#include "storage/DataFile.h"
#include "storage/FilePermissions.h"
#include "mrr/MrrSnapshots.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QLockFile>

#include <cerrno>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

Storage::Storage(QString folder)
    : m_folder(std::move(folder))
{
}

QString Storage::defaultFolder()
{
    // GenericDataLocation is ~/.local/share (or $XDG_DATA_HOME) on Linux, Application Support
    // on macOS and the roaming AppData folder on Windows.
    const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QDir(base).filePath(u"Quorvane"_s);
}

void Storage::ensureFolder(const QString &path) const
{
    // A failure shows later as failed reads and writes.
    if (!QFileInfo::exists(path))
        FilePermissions::restrictFolder(path);
}

void Storage::tightenFolder() const
{
    FilePermissions::tightenFolder(m_folder,
                                   {QString::fromLatin1(accountsFile), QString::fromLatin1(preferencesFile),
                                    QString::fromLatin1(feedFile), QString::fromLatin1(achievementsFile),
                                    QString::fromLatin1(syncStateFile)});
}

void Storage::reportUnreadable(const char *fileName, const QString &reason, QList<FileDamage> *damaged) const
{
    if (damaged)
        damaged->append(FileDamage{QString::fromLatin1(fileName), {}, 0, reason, true});
}

void Storage::reportDamage(const char *fileName, const QByteArray &bytes, qsizetype skipped,
                           QList<FileDamage> *damaged) const
{
    // The program never writes an empty file: one that reads empty lost its content.
    if (bytes.isEmpty()) {
        if (damaged)
            damaged->append(FileDamage{QString::fromLatin1(fileName), {}, 0, u"it is empty"_s});
        return;
    }
    const QString name = QString::fromLatin1(fileName);
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'"_s);
    const QString keptAt = DamagedFiles::keepCopy(m_folder, name, bytes, stamp);
    if (damaged)
        damaged->append(FileDamage{name, keptAt, skipped, {}});
}

QString Storage::fileURL() const
{
    ensureFolder(m_folder);
    return pathOf(accountsFile);
}

QString Storage::iconsDir() const
{
    const QString path = QDir(m_folder).filePath(u"icons"_s);
    ensureFolder(path);
    return path;
}

QString Storage::pathOf(const char *fileName) const
{
    return QDir(m_folder).filePath(QString::fromLatin1(fileName));
}

struct Storage::FileRead
{
    DataFile::Opened::State state = DataFile::Opened::State::Missing;
    QByteArray bytes;
    QString reason;
    bool unreadable() const { return state == DataFile::Opened::State::Unreadable; }
    std::optional<QByteArray> content() const
    {
        return state == DataFile::Opened::State::Open ? std::optional(bytes) : std::nullopt;
    }
};

Storage::FileRead Storage::readWhole(const char *fileName) const
{
    QFile file;
    FileRead out;
    const DataFile::Opened opened = DataFile::open(file, pathOf(fileName), m_folder);
    out.state = opened.state;
    out.reason = opened.reason;
    if (opened.state != DataFile::Opened::State::Open)
        return out;
    errno = 0;
    out.bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {DataFile::Opened::State::Unreadable, {}, DataFile::reasonFor(errno ? errno : EIO)};
    return out;
}

std::optional<QByteArray> Storage::read(const char *fileName) const
{
    return readWhole(fileName).content();
}

void Storage::holdWrites(const QString &fileName, const QString &reason)
{
    m_heldWrites.insert(fileName, reason);
}

Storage::Saved Storage::writeAtomically(const char *fileName, const QByteArray &bytes) const
{
    ensureFolder(m_folder);
    const QString name = QString::fromLatin1(fileName);
    if (const auto held = m_heldWrites.constFind(name); held != m_heldWrites.cend())
        return u"cannot read %1 (%2)"_s.arg(name, *held);
    // A file that exists but cannot be read is someone's data all the same.
    QFile existing;
    const DataFile::Opened opened = DataFile::open(existing, pathOf(fileName), m_folder);
    if (opened.state == DataFile::Opened::State::Unreadable)
        return u"cannot read %1 (%2)"_s.arg(name, opened.reason);
    existing.close();
    return DataFile::write(pathOf(fileName), bytes);
}

namespace {

std::optional<QJsonDocument> parse(const std::optional<QByteArray> &bytes)
{
    if (!bytes || bytes->isEmpty())
        return std::nullopt;
    QJsonParseError error;
    QJsonDocument doc = QJsonDocument::fromJson(*bytes, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return doc;
}

// One bad element loses the whole list: the fast way, for files as the program writes them.
template<typename T>
std::optional<QList<T>> decodeList(const std::optional<QByteArray> &bytes, DateForm form)
{
    if (!bytes)
        return std::nullopt;
    QList<T> out;
    const QString error = JsonParser::forThisThread().readArray(
        *bytes, [&out, form](JsonReader &reader) { out.append(T::decode(reader, form)); });
    if (!error.isEmpty())
        return std::nullopt;
    return out;
}

// Element by element, for a file the fast way refused: those that do not decode are counted
// and left out, the others kept.
template<typename T>
std::optional<QList<T>> decodeEach(const QByteArray &bytes, DateForm form, qsizetype &skipped)
{
    const auto doc = parse(bytes);
    if (!doc || !doc->isArray())
        return std::nullopt;
    const QJsonArray array = doc->array();
    QList<T> out;
    out.reserve(array.size());
    for (const QJsonValue &value : array) {
        const auto decoded = value.isObject()
            ? decodeJsonObject(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact),
                               [form](JsonReader &reader) { return T::decode(reader, form); })
            : Result<T, QString>(QString());
        if (decoded.ok())
            out.append(decoded.value());
        else
            ++skipped;
    }
    return out;
}

template<typename T>
std::optional<T> decodeOne(const std::optional<QByteArray> &bytes, DateForm form)
{
    if (!bytes)
        return std::nullopt;
    auto decoded = decodeJsonObject(*bytes, [form](JsonReader &reader) { return T::decode(reader, form); });
    if (!decoded)
        return std::nullopt;
    return std::move(decoded).value();
}

// An amount no payment has; it would break every sum and drawing after it.
bool insaneAmount(const PaymentEvent &e)
{
    return !isSaneAmount(e.amount) || !isSaneAmount(e.usdAmount);
}

} // namespace

namespace {

QByteArray encodeAccounts(const QList<Account> &accounts)
{
    QJsonArray array;
    for (const Account &a : accounts)
        array.append(toJson(a));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

} // namespace

QList<Account> Storage::loadAccounts(QList<FileDamage> *damaged) const
{
    const FileRead file = readWhole(accountsFile);
    if (file.unreadable())
        reportUnreadable(accountsFile, file.reason, damaged);
    const auto bytes = file.content();
    if (!bytes)
        return {};
    if (auto accounts = decodeList<Account>(bytes, DateForm::Iso8601))
        return *accounts;
    qsizetype skipped = 0;
    const auto accounts = decodeEach<Account>(*bytes, DateForm::Iso8601, skipped);
    if (!accounts || skipped > 0)
        reportDamage(accountsFile, *bytes, skipped, damaged);
    return accounts.value_or(QList<Account>{});
}

Storage::Saved Storage::saveAccounts(const QList<Account> &accounts) const
{
    fileURL();
    return writeAtomically(accountsFile, encodeAccounts(accounts));
}

Result<QList<Account>, QString> Storage::updateAccounts(const QList<Account> &accounts, const QSet<QUuid> &known)
{
    fileURL();
    // Held only from the read to the rename, so another process waits milliseconds at most.
    QLockFile lock(pathOf(accountsFile) + u".lock"_s);
    errno = 0;
    if (!lock.tryLock(2000))
        return lock.error() == QLockFile::LockFailedError ? u"another Quorvane is saving them"_s
                                                          : DataFile::reasonFor(errno ? errno : EIO);
    QList<FileDamage> damaged;
    const QList<Account> onDisk = loadAccounts(&damaged);
    if (!damaged.isEmpty() && damaged.first().blocksWrites)
        return u"cannot read %1 (%2)"_s.arg(damaged.first().file, damaged.first().reason);
    // Read now: whatever it holds is merged in, so it may be written over again.
    m_heldWrites.remove(QString::fromLatin1(accountsFile));
    const QList<Account> merged = AccountsMerge::merge(accounts, known, onDisk, damaged.isEmpty());
    if (auto saved = writeAtomically(accountsFile, encodeAccounts(merged)); !saved)
        return saved.error();
    return merged;
}

std::optional<Preferences> Storage::loadPreferences(QList<FileDamage> *damaged) const
{
    const FileRead file = readWhole(preferencesFile);
    if (file.unreadable())
        reportUnreadable(preferencesFile, file.reason, damaged);
    const auto bytes = file.content();
    auto preferences = decodeOne<Preferences>(bytes, DateForm::ReferenceSeconds);
    if (bytes && !preferences)
        reportDamage(preferencesFile, *bytes, 0, damaged);
    return preferences;
}

Storage::Saved Storage::savePreferences(const Preferences &preferences) const
{
    return writeAtomically(preferencesFile,
                           QJsonDocument(toJson(preferences, DateForm::ReferenceSeconds)).toJson(QJsonDocument::Compact));
}

std::optional<AchievementsState> Storage::loadAchievements(QList<FileDamage> *damaged) const
{
    const FileRead file = readWhole(achievementsFile);
    if (file.unreadable())
        reportUnreadable(achievementsFile, file.reason, damaged);
    const auto bytes = file.content();
    auto state = decodeOne<AchievementsState>(bytes, DateForm::Iso8601);
    if (bytes && !state)
        reportDamage(achievementsFile, *bytes, 0, damaged);
    return state;
}

Storage::Saved Storage::saveAchievements(const AchievementsState &state) const
{
    return writeAtomically(achievementsFile,
                           QJsonDocument(toJson(state, DateForm::Iso8601)).toJson(QJsonDocument::Compact));
}

QList<PaymentEvent> Storage::loadFeed(QList<FileDamage> *damaged) const
{
    QFile file;
    const DataFile::Opened opened = DataFile::open(file, pathOf(feedFile), m_folder);
    if (opened.state == DataFile::Opened::State::Unreadable)
        reportUnreadable(feedFile, opened.reason, damaged);
    if (opened.state != DataFile::Opened::State::Open)
        return {};
    qsizetype skipped = 0;
    FeedFileRead read = decodeFeedFile(file);
    if (read.readError) {
        reportUnreadable(feedFile, DataFile::reasonFor(read.readError), damaged);
        return {};
    }
    auto feed = std::move(read.events);
    if (feed) {
        skipped = feed->removeIf(insaneAmount);
    } else if (file.seek(0)) {
        // The fast reader takes a file whole or not at all; event by event, only the events
        // that do not decode (an unknown kind from a newer version, a damaged record) are lost.
        errno = 0;
        const QByteArray bytes = file.readAll();
        if (file.error() != QFileDevice::NoError) {
            reportUnreadable(feedFile, DataFile::reasonFor(errno ? errno : EIO), damaged);
            return {};
        }
        feed = decodeEach<PaymentEvent>(bytes, DateForm::Iso8601, skipped);
        if (feed)
            skipped += feed->removeIf(insaneAmount);
        if (!feed || skipped > 0)
            reportDamage(feedFile, bytes, skipped, damaged);
        return feed.value_or(QList<PaymentEvent>{});
    }
    if (skipped > 0 && file.seek(0))
        reportDamage(feedFile, file.readAll(), skipped, damaged);
    return feed.value_or(QList<PaymentEvent>{});
}

Storage::Saved Storage::saveFeed(const QList<PaymentEvent> &feed) const
{
    return writeAtomically(feedFile, encodeFeed(feed));
}

QHash<QUuid, Date> Storage::loadSyncState(QList<FileDamage> *damaged) const
{
    QHash<QUuid, Date> out;
    const FileRead file = readWhole(syncStateFile);
    if (file.unreadable())
        reportUnreadable(syncStateFile, file.reason, damaged);
    const auto bytes = file.content();
    if (!bytes)
        return out;
    const auto doc = parse(bytes);
    if (!doc || !doc->isObject()) {
        reportDamage(syncStateFile, *bytes, 0, damaged);
        return out;
    }
    const QJsonObject object = doc->object();
    // The whole mapping must decode; only keys that are not UUID text are dropped one by one.
    QHash<QUuid, Date> decoded;
    for (auto it = object.begin(); it != object.end(); ++it) {
        const auto date = it.value().isString() ? Date::fromIsoString(it.value().toString()) : std::nullopt;
        if (!date) {
            reportDamage(syncStateFile, *bytes, 0, damaged);
            return out;
        }
        const QUuid id = QUuid::fromString(it.key());
        if (!id.isNull() && it.key().size() == 36)
            decoded.insert(id, *date);
    }
    return decoded;
}

Storage::Saved Storage::saveSyncState(const QHash<QUuid, Date> &state) const
{
    QJsonObject object;
    for (auto it = state.begin(); it != state.end(); ++it)
        object.insert(uuidText(it.key()), it.value().toIsoString());
    return writeAtomically(syncStateFile, QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QList<MrrSnapshot> Storage::loadMrrSnapshots(QList<FileDamage> *damaged) const
{
    const FileRead file = readWhole(mrrSnapshotsFile);
    if (file.unreadable())
        reportUnreadable(mrrSnapshotsFile, file.reason, damaged);
    const auto bytes = file.content();
    if (!bytes)
        return {};
    if (auto snapshots = decodeList<MrrSnapshot>(bytes, DateForm::Iso8601))
        return *snapshots;
    qsizetype skipped = 0;
    auto snapshots = decodeEach<MrrSnapshot>(*bytes, DateForm::Iso8601, skipped);
    reportDamage(mrrSnapshotsFile, *bytes, skipped, damaged);
    return snapshots.value_or(QList<MrrSnapshot>{});
}

Storage::Saved Storage::saveMrrSnapshots(const QList<MrrSnapshot> &snapshots) const
{
    QJsonArray array;
    for (const MrrSnapshot &snapshot : snapshots)
        array.append(toJson(snapshot, DateForm::Iso8601));
    return writeAtomically(mrrSnapshotsFile, QJsonDocument(array).toJson(QJsonDocument::Compact));
}
