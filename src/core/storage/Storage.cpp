#include "Storage.h"

#include "model/AmountBounds.h"
#include "storage/FilePermissions.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>
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

void Storage::reportDamage(const char *fileName, const QByteArray &bytes, qsizetype skipped,
                           QList<FileDamage> *damaged) const
{
    if (bytes.isEmpty())
        return; // nothing to keep, and nothing was lost
    const QString name = QString::fromLatin1(fileName);
    const QString stamp = QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd'T'HHmmss'Z'"_s);
    const QString keptAt = DamagedFiles::keepCopy(m_folder, name, bytes, stamp);
    if (damaged)
        damaged->append(FileDamage{name, keptAt, skipped});
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

std::optional<QByteArray> Storage::read(const char *fileName) const
{
    QFile file(pathOf(fileName));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

bool Storage::writeAtomically(const char *fileName, const QByteArray &bytes) const
{
    ensureFolder(m_folder);
    QSaveFile file(pathOf(fileName));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    // The temporary copy is made private before the first byte goes in; the rename keeps it so.
    if (!FilePermissions::restrictToOwner(file)) {
        file.cancelWriting();
        return false;
    }
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
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

QList<Account> Storage::loadAccounts(QList<FileDamage> *damaged) const
{
    const auto bytes = read(accountsFile);
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

bool Storage::saveAccounts(const QList<Account> &accounts) const
{
    QJsonArray array;
    for (const Account &a : accounts)
        array.append(toJson(a));
    fileURL();
    return writeAtomically(accountsFile, QJsonDocument(array).toJson(QJsonDocument::Compact));
}

std::optional<Preferences> Storage::loadPreferences(QList<FileDamage> *damaged) const
{
    const auto bytes = read(preferencesFile);
    auto preferences = decodeOne<Preferences>(bytes, DateForm::ReferenceSeconds);
    if (bytes && !preferences)
        reportDamage(preferencesFile, *bytes, 0, damaged);
    return preferences;
}

bool Storage::savePreferences(const Preferences &preferences) const
{
    return writeAtomically(preferencesFile,
                           QJsonDocument(toJson(preferences, DateForm::ReferenceSeconds)).toJson(QJsonDocument::Compact));
}

std::optional<AchievementsState> Storage::loadAchievements(QList<FileDamage> *damaged) const
{
    const auto bytes = read(achievementsFile);
    auto state = decodeOne<AchievementsState>(bytes, DateForm::Iso8601);
    if (bytes && !state)
        reportDamage(achievementsFile, *bytes, 0, damaged);
    return state;
}

bool Storage::saveAchievements(const AchievementsState &state) const
{
    return writeAtomically(achievementsFile,
                           QJsonDocument(toJson(state, DateForm::Iso8601)).toJson(QJsonDocument::Compact));
}

QList<PaymentEvent> Storage::loadFeed(QList<FileDamage> *damaged) const
{
    QFile file(pathOf(feedFile));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    qsizetype skipped = 0;
    auto feed = decodeFeedFile(file);
    if (feed) {
        skipped = feed->removeIf(insaneAmount);
    } else if (file.seek(0)) {
        // The fast reader takes a file whole or not at all; event by event, only the events
        // that do not decode (an unknown kind from a newer version, a damaged record) are lost.
        const QByteArray bytes = file.readAll();
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

bool Storage::saveFeed(const QList<PaymentEvent> &feed) const
{
    return writeAtomically(feedFile, encodeFeed(feed));
}

QHash<QUuid, Date> Storage::loadSyncState(QList<FileDamage> *damaged) const
{
    QHash<QUuid, Date> out;
    const auto bytes = read(syncStateFile);
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

bool Storage::saveSyncState(const QHash<QUuid, Date> &state) const
{
    QJsonObject object;
    for (auto it = state.begin(); it != state.end(); ++it)
        object.insert(uuidText(it.key()), it.value().toIsoString());
    return writeAtomically(syncStateFile, QJsonDocument(object).toJson(QJsonDocument::Compact));
}
