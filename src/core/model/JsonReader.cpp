#include "JsonReader.h"

#include <cmath>

JsonReader::JsonReader(const QJsonObject &object, QString path)
    : JsonReader(object, std::move(path), std::make_shared<QString>())
{
}

JsonReader::JsonReader(const QJsonObject &object, QString path, std::shared_ptr<QString> error)
    : m_object(object)
    , m_path(std::move(path))
    , m_error(std::move(error))
{
}

void JsonReader::fail(const QString &message)
{
    if (m_error->isEmpty())
        *m_error = message;
}

void JsonReader::failKey(QLatin1StringView key, const char *what)
{
    if (!m_error->isEmpty())
        return;
    const QJsonValue v = m_object.value(key);
    const QString path = pathOf(key);
    if (v.isUndefined())
        *m_error = QStringLiteral("key not found: ") + path;
    else if (v.isNull())
        *m_error = path + QStringLiteral(": expected ") + QLatin1StringView(what) + QStringLiteral(", found null");
    else
        *m_error = path + QStringLiteral(": expected ") + QLatin1StringView(what);
}

bool JsonReader::has(QLatin1StringView key) const
{
    const QJsonValue v = m_object.value(key);
    return !v.isUndefined() && !v.isNull();
}

JsonKind JsonReader::kind(QLatin1StringView key) const
{
    switch (m_object.value(key).type()) {
    case QJsonValue::Null: return JsonKind::Null;
    case QJsonValue::Bool: return JsonKind::Boolean;
    case QJsonValue::Double: return JsonKind::Number;
    case QJsonValue::String: return JsonKind::String;
    case QJsonValue::Array: return JsonKind::Array;
    case QJsonValue::Object: return JsonKind::Object;
    case QJsonValue::Undefined: break;
    }
    return JsonKind::Absent;
}

QString JsonReader::pathOf(QLatin1StringView key) const
{
    return m_path.isEmpty() ? QString(key) : m_path + u'.' + key;
}

bool isWholeNumber(const QJsonValue &value)
{
    if (!value.isDouble())
        return false;
    const double d = value.toDouble();
    return std::isfinite(d) && std::trunc(d) == d && std::fabs(d) < 9.3e18;
}

QString JsonReader::string(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!v.isString()) {
        failKey(key, "a string");
        return {};
    }
    return v.toString();
}

std::optional<QString> JsonReader::optString(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isString()) {
        failKey(key, "a string");
        return std::nullopt;
    }
    return v.toString();
}

double JsonReader::number(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!v.isDouble()) {
        failKey(key, "a number");
        return 0;
    }
    return v.toDouble();
}

std::optional<double> JsonReader::optNumber(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isDouble()) {
        failKey(key, "a number");
        return std::nullopt;
    }
    return v.toDouble();
}

qint64 JsonReader::integer(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!isWholeNumber(v)) {
        failKey(key, "an integer");
        return 0;
    }
    return v.toInteger();
}

std::optional<qint64> JsonReader::optInteger(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!isWholeNumber(v)) {
        failKey(key, "an integer");
        return std::nullopt;
    }
    return v.toInteger();
}

bool JsonReader::boolean(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!v.isBool()) {
        failKey(key, "a boolean");
        return false;
    }
    return v.toBool();
}

std::optional<bool> JsonReader::optBoolean(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isBool()) {
        failKey(key, "a boolean");
        return std::nullopt;
    }
    return v.toBool();
}

QUuid JsonReader::uuid(QLatin1StringView key)
{
    const QString text = string(key);
    if (failed())
        return {};
    const QUuid id = QUuid::fromString(text);
    // QUuid also accepts braces; the files hold the bare 36-character form only.
    if (id.isNull() || text.size() != 36)
        failKey(key, "a UUID");
    return id;
}

std::optional<QUrl> JsonReader::optUrl(QLatin1StringView key)
{
    const auto text = optString(key);
    if (!text)
        return std::nullopt;
    QUrl url(*text, QUrl::StrictMode);
    if (!url.isValid()) {
        failKey(key, "a URL");
        return std::nullopt;
    }
    return url;
}

std::optional<Date> JsonReader::decodeDate(const QJsonValue &value, DateForm form) const
{
    if (form == DateForm::ReferenceSeconds) {
        if (!value.isDouble())
            return std::nullopt;
        return Date::fromReferenceSeconds(value.toDouble());
    }
    if (!value.isString())
        return std::nullopt;
    return Date::fromIsoString(value.toString());
}

Date JsonReader::date(QLatin1StringView key, DateForm form)
{
    const auto d = decodeDate(m_object.value(key), form);
    if (!d) {
        failKey(key, form == DateForm::Iso8601 ? "an ISO 8601 date" : "a number of seconds");
        return {};
    }
    return *d;
}

std::optional<Date> JsonReader::optDate(QLatin1StringView key, DateForm form)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    const auto d = decodeDate(v, form);
    if (!d)
        failKey(key, form == DateForm::Iso8601 ? "an ISO 8601 date" : "a number of seconds");
    return d;
}

QJsonObject JsonReader::object(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!v.isObject()) {
        failKey(key, "an object");
        return {};
    }
    return v.toObject();
}

std::optional<QJsonObject> JsonReader::optObject(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isObject()) {
        failKey(key, "an object");
        return std::nullopt;
    }
    return v.toObject();
}

QJsonArray JsonReader::array(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (!v.isArray()) {
        failKey(key, "an array");
        return {};
    }
    return v.toArray();
}

std::optional<QJsonArray> JsonReader::optArray(QLatin1StringView key)
{
    const QJsonValue v = m_object.value(key);
    if (v.isUndefined() || v.isNull())
        return std::nullopt;
    if (!v.isArray()) {
        failKey(key, "an array");
        return std::nullopt;
    }
    return v.toArray();
}

std::optional<QMap<QString, QString>> JsonReader::optStringMap(QLatin1StringView key)
{
    const auto members = optObject(key);
    if (!members)
        return std::nullopt;
    QMap<QString, QString> out;
    for (auto it = members->begin(); it != members->end(); ++it) {
        if (!it.value().isString()) {
            fail(pathOf(key) + u'.' + it.key() + QStringLiteral(": expected a string"));
            return std::nullopt;
        }
        out.insert(it.key(), it.value().toString());
    }
    return out;
}

std::optional<JsonReader> JsonReader::optNested(QLatin1StringView key)
{
    const auto object = optObject(key);
    if (!object)
        return std::nullopt;
    return nested(*object, key);
}

JsonReader JsonReader::nested(const QJsonObject &object, QLatin1StringView key)
{
    return JsonReader(object, pathOf(key), m_error);
}

JsonReader JsonReader::element(const QJsonObject &object, QLatin1StringView key, qsizetype index)
{
    return JsonReader(object, pathOf(key) + u'[' + QString::number(index) + u']', m_error);
}

QJsonValue encodeDate(Date date, DateForm form)
{
    if (form == DateForm::ReferenceSeconds)
        return date.referenceSeconds();
    return date.toIsoString();
}
