#include "Storage.h"

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
    QDir().mkpath(path); // a failure shows later as failed reads and writes
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

// One bad element loses the whole file.
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

} // namespace

QList<Account> Storage::loadAccounts() const
{
    return decodeList<Account>(read(accountsFile), DateForm::Iso8601).value_or(QList<Account>{});
}

bool Storage::saveAccounts(const QList<Account> &accounts) const
{
    QJsonArray array;
    for (const Account &a : accounts)
        array.append(toJson(a));
    fileURL();
    return writeAtomically(accountsFile, QJsonDocument(array).toJson(QJsonDocument::Compact));
}

std::optional<Preferences> Storage::loadPreferences() const
{
    return decodeOne<Preferences>(read(preferencesFile), DateForm::ReferenceSeconds);
}

bool Storage::savePreferences(const Preferences &preferences) const
{
    return writeAtomically(preferencesFile,
                           QJsonDocument(toJson(preferences, DateForm::ReferenceSeconds)).toJson(QJsonDocument::Compact));
}

std::optional<AchievementsState> Storage::loadAchievements() const
{
    return decodeOne<AchievementsState>(read(achievementsFile), DateForm::Iso8601);
}

bool Storage::saveAchievements(const AchievementsState &state) const
{
    return writeAtomically(achievementsFile,
                           QJsonDocument(toJson(state, DateForm::Iso8601)).toJson(QJsonDocument::Compact));
}

QList<PaymentEvent> Storage::loadFeed() const
{
    QFile file(pathOf(feedFile));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return decodeFeedFile(file).value_or(QList<PaymentEvent>{});
}

bool Storage::saveFeed(const QList<PaymentEvent> &feed) const
{
    return writeAtomically(feedFile, encodeFeed(feed));
}

QHash<QUuid, Date> Storage::loadSyncState() const
{
    QHash<QUuid, Date> out;
    const auto doc = parse(read(syncStateFile));
    if (!doc || !doc->isObject())
        return out;
    const QJsonObject object = doc->object();
    // The whole mapping must decode; only keys that are not UUID text are dropped one by one.
    QHash<QUuid, Date> decoded;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isString())
            return out;
        const auto date = Date::fromIsoString(it.value().toString());
        if (!date)
            return out;
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
