#pragma once

#include "model/Enums.h"
#include "util/Date.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QMap>
#include <QUrl>
#include <QUuid>
#include <memory>
#include <optional>

// What a member holds, for fields that come in more than one form.
enum class JsonKind { Absent, Null, Boolean, Number, String, Array, Object };

// How a file writes its dates: seconds since 2001 as a number, or ISO 8601 text.
enum class DateForm { ReferenceSeconds, Iso8601 };

// Reads typed fields out of one JSON object and remembers the first failure with its key
// path. Required readers return a neutral value after a failure; callers check failed()
// once at the end, which keeps decoders flat.
class JsonReader
{
public:
    using Key = QLatin1StringView;

    explicit JsonReader(const QJsonObject &object, QString path = {});

    bool failed() const { return !m_error->isEmpty(); }
    const QString &error() const { return *m_error; }
    void fail(const QString &message);
    void failKey(QLatin1StringView key, const char *what);

    bool has(QLatin1StringView key) const; // present and not null
    JsonKind kind(QLatin1StringView key) const;
    QJsonValue raw(QLatin1StringView key) const { return m_object.value(key); }
    QString pathOf(QLatin1StringView key) const;

    QString string(QLatin1StringView key);
    std::optional<QString> optString(QLatin1StringView key);
    double number(QLatin1StringView key);
    std::optional<double> optNumber(QLatin1StringView key);
    qint64 integer(QLatin1StringView key);
    std::optional<qint64> optInteger(QLatin1StringView key);
    bool boolean(QLatin1StringView key);
    std::optional<bool> optBoolean(QLatin1StringView key);
    QUuid uuid(QLatin1StringView key);
    std::optional<QUrl> optUrl(QLatin1StringView key);
    Date date(QLatin1StringView key, DateForm form);
    std::optional<Date> optDate(QLatin1StringView key, DateForm form);
    QJsonObject object(QLatin1StringView key);
    std::optional<QJsonObject> optObject(QLatin1StringView key);
    QJsonArray array(QLatin1StringView key);
    std::optional<QJsonArray> optArray(QLatin1StringView key);
    // An object of string values, such as metadata.
    std::optional<QMap<QString, QString>> optStringMap(QLatin1StringView key);

    template<typename E>
    E enumeration(QLatin1StringView key)
    {
        const QString text = string(key);
        if (failed())
            return E{};
        if (auto value = fromRaw<E>(text))
            return *value;
        fail(pathOf(key) + QStringLiteral(": unknown value \"") + text + u'"');
        return E{};
    }

    // A reader of the optional object `key`, sharing this reader's error.
    std::optional<JsonReader> optNested(QLatin1StringView key);

    // Calls `f` with a reader for each element of the required array of objects `key`,
    // until one fails, after `reserve` with their number.
    template<typename F, typename Reserve>
    void forEachObject(QLatin1StringView key, F &&f, Reserve &&reserve)
    {
        const QJsonArray elements = array(key);
        reserve(elements.size());
        for (qsizetype i = 0; i < elements.size() && !failed(); ++i) {
            const QJsonValue value = elements.at(i);
            if (!value.isObject()) {
                fail(pathOf(key) + u'[' + QString::number(i) + QStringLiteral("]: expected an object"));
                return;
            }
            JsonReader reader = element(value.toObject(), key, i);
            f(reader);
        }
    }

    // A nested reader sharing this reader's error.
    JsonReader nested(const QJsonObject &object, QLatin1StringView key);
    JsonReader element(const QJsonObject &object, QLatin1StringView key, qsizetype index);

private:
    std::optional<Date> decodeDate(const QJsonValue &value, DateForm form) const;

    JsonReader(const QJsonObject &object, QString path, std::shared_ptr<QString> error);

    QJsonObject m_object;
    QString m_path;
    std::shared_ptr<QString> m_error;
};

QJsonValue encodeDate(Date date, DateForm form);
bool isWholeNumber(const QJsonValue &value);
