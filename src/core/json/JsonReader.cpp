#include "JsonReader.h"

#include "json/AmountBounds.h"

#include <array>
#include <cmath>
#include <cstring>
#include <simdjson.h>
#include <string_view>

namespace dom = simdjson::dom;
using simdjson::error_code;

static_assert(JsonParser::padding == simdjson::SIMDJSON_PADDING);

struct JsonReader::State
{
    QString error;

    // The texts of recurringString, by their UTF-8 bytes; the oldest slot goes first.
    struct Shared
    {
        std::string bytes;
        QString text;
    };
    std::array<Shared, 32> shared;
    std::size_t nextShared = 0;
};

struct JsonReader::Cursor
{
    dom::object object;
    // Where the last search ended: the next one starts there, so keys asked for in the
    // order the object holds them cost one walk over its members in all.
    dom::object::iterator at;
};
static_assert(std::is_trivially_copyable_v<dom::object> && std::is_trivially_copyable_v<dom::object::iterator>);

namespace {

QString textOf(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

QString syntaxError(error_code code)
{
    return QString::fromUtf8(simdjson::error_message(code));
}

} // namespace

JsonReader::JsonReader(State *state, const JsonReader *parent, Key key, qsizetype index)
    : m_state(state)
    , m_parent(parent)
    , m_key(key)
    , m_index(index)
{
    static_assert(sizeof(Cursor) <= sizeof m_cursor && alignof(Cursor) <= 8);
    new (m_cursor) Cursor();
}

JsonReader::JsonReader(JsonReader &&other) noexcept
    : m_state(other.m_state)
    , m_parent(other.m_parent)
    , m_key(other.m_key)
    , m_index(other.m_index)
{
    std::memcpy(m_cursor, other.m_cursor, sizeof m_cursor);
}

JsonReader::~JsonReader() = default;

JsonReader::Cursor &JsonReader::cursor()
{
    return *std::launder(reinterpret_cast<Cursor *>(m_cursor));
}

void JsonReader::start(const void *object)
{
    Cursor &c = cursor();
    c.object = *static_cast<const dom::object *>(object);
    c.at = c.object.begin();
}

bool JsonReader::failed() const
{
    return !m_state->error.isEmpty();
}

const QString &JsonReader::error() const
{
    return m_state->error;
}

void JsonReader::fail(const QString &message)
{
    if (m_state->error.isEmpty())
        m_state->error = message.isEmpty() ? QStringLiteral("failed") : message;
}

QString JsonReader::ownPath() const
{
    QString path = m_parent ? m_parent->pathOf(m_key) : QString(m_key);
    if (m_index >= 0)
        path += u'[' + QString::number(m_index) + u']';
    return path;
}

QString JsonReader::pathOf(Key key) const
{
    const QString own = ownPath();
    return own.isEmpty() ? QString(key) : own + u'.' + key;
}

namespace {

// The member `key` of the cursor's object, or nothing when it is absent.
std::optional<dom::element> findIn(JsonReader::Cursor &cursor, QLatin1StringView key)
{
    const std::string_view wanted(key.data(), std::size_t(key.size()));
    const auto end = cursor.object.end();
    for (auto it = cursor.at; it != end; ++it) {
        if (it.key_equals(wanted)) {
            cursor.at = it;
            return it.value();
        }
    }
    for (auto it = cursor.object.begin(); it != cursor.at; ++it) {
        if (it.key_equals(wanted)) {
            cursor.at = it;
            return it.value();
        }
    }
    return std::nullopt;
}

JsonKind kindOf(const dom::element &value)
{
    switch (value.type()) {
    case dom::element_type::ARRAY: return JsonKind::Array;
    case dom::element_type::OBJECT: return JsonKind::Object;
    case dom::element_type::INT64:
    case dom::element_type::UINT64:
    case dom::element_type::DOUBLE: return JsonKind::Number;
    case dom::element_type::STRING: return JsonKind::String;
    case dom::element_type::BOOL: return JsonKind::Boolean;
    case dom::element_type::NULL_VALUE: return JsonKind::Null;
    }
    return JsonKind::Absent;
}

} // namespace

void JsonReader::failKey(Key key, const char *what)
{
    if (failed())
        return;
    const QString path = pathOf(key);
    switch (kind(key)) {
    case JsonKind::Absent: fail(QStringLiteral("key not found: ") + path); break;
    case JsonKind::Null:
        fail(path + QStringLiteral(": expected ") + QLatin1StringView(what) + QStringLiteral(", found null"));
        break;
    default: fail(path + QStringLiteral(": expected ") + QLatin1StringView(what));
    }
}

JsonKind JsonReader::kind(Key key)
{
    const auto value = findIn(cursor(), key);
    return value ? kindOf(*value) : JsonKind::Absent;
}

namespace {

// The shared shape of every scalar read: find the member, treat absent and null as
// nothing for optional reads, convert with `get`, and on a wrong type fail with the key
// path and what was expected.
template<typename T, typename Get>
std::optional<T> readScalar(JsonReader &reader, JsonReader::Cursor &cursor, QLatin1StringView key, bool required,
                            const char *what, Get get)
{
    if (reader.failed())
        return std::nullopt;
    const auto value = findIn(cursor, key);
    if (!value || (!required && value->is_null())) {
        if (required)
            reader.failKey(key, what);
        return std::nullopt;
    }
    T out{};
    if (!get(*value, out)) {
        reader.failKey(key, what);
        return std::nullopt;
    }
    return out;
}

bool getString(const dom::element &value, std::string_view &out)
{
    return value.get_string().get(out) == simdjson::SUCCESS;
}

bool getDouble(const dom::element &value, double &out)
{
    return value.get_double().get(out) == simdjson::SUCCESS;
}

// Whole numbers written with a fraction or an exponent (2.0, 1e3) are integers too.
bool getInteger(const dom::element &value, qint64 &out)
{
    int64_t whole = 0;
    if (value.get_int64().get(whole) == simdjson::SUCCESS) {
        out = whole;
        return true;
    }
    double d = 0;
    if (!value.is_double() || value.get_double().get(d) != simdjson::SUCCESS)
        return false;
    if (!std::isfinite(d) || std::trunc(d) != d || std::fabs(d) >= 9.3e18)
        return false;
    out = qint64(d);
    return true;
}

bool getBool(const dom::element &value, bool &out)
{
    return value.get_bool().get(out) == simdjson::SUCCESS;
}

} // namespace

QString JsonReader::string(Key key)
{
    const auto text = readScalar<std::string_view>(*this, cursor(), key, true, "a string", getString);
    return text ? textOf(*text) : QString();
}

std::optional<QString> JsonReader::optString(Key key)
{
    const auto text = readScalar<std::string_view>(*this, cursor(), key, false, "a string", getString);
    return text ? std::optional(textOf(*text)) : std::nullopt;
}

QString JsonReader::recurringString(Key key)
{
    return optRecurringString(key, true).value_or(QString());
}

std::optional<QString> JsonReader::optRecurringString(Key key)
{
    return optRecurringString(key, false);
}

std::optional<QString> JsonReader::optRecurringString(Key key, bool required)
{
    const auto text = readScalar<std::string_view>(*this, cursor(), key, required, "a string", getString);
    if (!text)
        return std::nullopt;
    for (const State::Shared &slot : m_state->shared)
        if (slot.bytes == *text)
            return slot.text;
    State::Shared &slot = m_state->shared[m_state->nextShared++ % m_state->shared.size()];
    slot.bytes.assign(*text);
    slot.text = textOf(*text);
    return slot.text;
}

double JsonReader::number(Key key)
{
    return readScalar<double>(*this, cursor(), key, true, "a number", getDouble).value_or(0);
}

double JsonReader::amount(Key key)
{
    const std::optional<double> value = readScalar<double>(*this, cursor(), key, true, "a number", getDouble);
    if (value && !isSaneAmount(*value)) {
        failKey(key, "an amount within a trillion");
        return 0;
    }
    return value.value_or(0);
}

std::optional<double> JsonReader::optNumber(Key key)
{
    return readScalar<double>(*this, cursor(), key, false, "a number", getDouble);
}

qint64 JsonReader::integer(Key key)
{
    return readScalar<qint64>(*this, cursor(), key, true, "an integer", getInteger).value_or(0);
}

std::optional<qint64> JsonReader::optInteger(Key key)
{
    return readScalar<qint64>(*this, cursor(), key, false, "an integer", getInteger);
}

qint64 JsonReader::minorAmount(Key key)
{
    return optMinorAmount(key, true).value_or(0);
}

std::optional<qint64> JsonReader::optMinorAmount(Key key)
{
    return optMinorAmount(key, false);
}

std::optional<qint64> JsonReader::optMinorAmount(Key key, bool required)
{
    const auto value = readScalar<qint64>(*this, cursor(), key, required, "an integer", getInteger);
    if (value && !isSaneAmount(double(*value))) {
        failKey(key, "an amount within a trillion");
        return std::nullopt;
    }
    return value;
}

bool JsonReader::boolean(Key key)
{
    return readScalar<bool>(*this, cursor(), key, true, "a boolean", getBool).value_or(false);
}

std::optional<bool> JsonReader::optBoolean(Key key)
{
    return readScalar<bool>(*this, cursor(), key, false, "a boolean", getBool);
}

QUuid JsonReader::uuid(Key key)
{
    const auto text = readScalar<std::string_view>(*this, cursor(), key, true, "a string", getString);
    if (!text)
        return {};
    // QUuid also accepts braces; the files hold the bare 36-character form only.
    const QUuid id = text->size() == 36 ? QUuid::fromString(QLatin1StringView(text->data(), 36)) : QUuid();
    if (id.isNull())
        fail(pathOf(key) + QStringLiteral(": expected a UUID"));
    return id;
}

std::optional<QUrl> JsonReader::optUrl(Key key)
{
    const auto text = optString(key);
    if (!text)
        return std::nullopt;
    QUrl url(*text, QUrl::StrictMode);
    if (!url.isValid()) {
        fail(pathOf(key) + QStringLiteral(": expected a URL"));
        return std::nullopt;
    }
    return url;
}

namespace {

std::optional<Date> readDate(JsonReader &reader, JsonReader::Cursor &cursor, QLatin1StringView key, bool required,
                             DateForm form)
{
    const char *what = form == DateForm::Iso8601 ? "an ISO 8601 date" : "a number of seconds";
    if (form == DateForm::ReferenceSeconds) {
        const auto seconds = readScalar<double>(reader, cursor, key, required, what, getDouble);
        // Years 1 to 9999, as the text form can hold them; beyond, calendar arithmetic fails.
        if (seconds && !(std::fabs(*seconds) < 2.5e11)) {
            reader.failKey(key, what);
            return std::nullopt;
        }
        return seconds ? std::optional(Date::fromReferenceSeconds(*seconds)) : std::nullopt;
    }
    const auto text = readScalar<std::string_view>(reader, cursor, key, required, what, getString);
    if (!text)
        return std::nullopt;
    auto date = Date::fromIsoString(QString::fromLatin1(text->data(), qsizetype(text->size())));
    if (!date)
        reader.fail(reader.pathOf(key) + QStringLiteral(": expected ") + QLatin1StringView(what));
    return date;
}

} // namespace

Date JsonReader::date(Key key, DateForm form)
{
    return readDate(*this, cursor(), key, true, form).value_or(Date());
}

std::optional<Date> JsonReader::optDate(Key key, DateForm form)
{
    return readDate(*this, cursor(), key, false, form);
}

std::optional<JsonReader> JsonReader::nested(Key key)
{
    auto out = optNested(key);
    if (!out && !failed())
        failKey(key, "an object");
    return out;
}

std::optional<JsonReader> JsonReader::optNested(Key key)
{
    if (failed())
        return std::nullopt;
    const auto value = findIn(cursor(), key);
    if (!value || value->is_null())
        return std::nullopt;
    dom::object object;
    if (value->get_object().get(object)) {
        failKey(key, "an object");
        return std::nullopt;
    }
    JsonReader nested(m_state, this, key, -1);
    nested.start(&object);
    return nested;
}

std::optional<QMap<QString, QString>> JsonReader::optStringMap(Key key)
{
    auto members = optNested(key);
    if (!members)
        return std::nullopt;
    QMap<QString, QString> out;
    for (const dom::key_value_pair member : members->cursor().object) {
        std::string_view text;
        if (member.value.get_string().get(text)) {
            fail(pathOf(key) + u'.' + textOf(member.key) + QStringLiteral(": expected a string"));
            return std::nullopt;
        }
        out.insert(textOf(member.key), textOf(text));
    }
    return out;
}

qsizetype JsonReader::arraySize(Key key)
{
    dom::array array;
    const auto value = failed() ? std::nullopt : findIn(cursor(), key);
    return value && value->get_array().get(array) == simdjson::SUCCESS ? qsizetype(array.size()) : 0;
}

bool JsonReader::eachObject(Key key, bool required, Visit visit, void *context, const SkipHandler *skip)
{
    if (failed())
        return false;
    const auto value = findIn(cursor(), key);
    if (!required && (!value || value->is_null()))
        return false;
    dom::array array;
    if (!value || value->get_array().get(array)) {
        failKey(key, "an array");
        return false;
    }
    qsizetype index = 0;
    for (const dom::element element : array) {
        dom::object object;
        if (element.get_object().get(object)) {
            if (skip) {
                skip->visit(skip->context, nullptr);
                ++index;
                continue;
            }
            fail(pathOf(key) + u'[' + QString::number(index) + QStringLiteral("]: expected an object"));
            break;
        }
        JsonReader reader(m_state, this, key, index++);
        reader.start(&object);
        visit(context, reader);
        if (!failed())
            continue;
        if (!skip)
            break;
        m_state->error.clear();
        reader.start(&object);
        skip->visit(skip->context, &reader);
        m_state->error.clear();
    }
    return true;
}

// ---------------------------------------------------------------------------------------

struct JsonParser::Private
{
    dom::parser parser;
    // Where a document without room for simdjson's padding after it is copied.
    std::unique_ptr<char[]> copy;
    std::size_t copySize = 0;
};

JsonParser::JsonParser()
    : d(std::make_unique<Private>())
{
}

JsonParser::~JsonParser() = default;

JsonParser &JsonParser::forThisThread()
{
    thread_local JsonParser parser;
    return parser;
}

QString JsonParser::read(QByteArrayView json, qsizetype readable, bool array, JsonReader::Visit visit, void *context)
{
    const char *data = json.data();
    const auto size = std::size_t(json.size());
    if (readable - json.size() < padding) {
        if (d->copySize < size + padding) {
            d->copySize = size + padding;
            d->copy = std::make_unique_for_overwrite<char[]>(d->copySize);
        }
        if (size)
            std::memcpy(d->copy.get(), data, size);
        std::memset(d->copy.get() + size, 0, padding);
        data = d->copy.get();
    }

    // The whole text is validated here: whatever a decoder reads afterwards is sound JSON.
    dom::element document;
    if (const error_code code = d->parser.parse(data, size, false).get(document))
        return syntaxError(code);

    JsonReader::State state;
    if (array) {
        dom::array top;
        if (document.get_array().get(top))
            return QStringLiteral("expected a JSON array at the top level");
        qsizetype index = 0;
        for (const dom::element element : top) {
            dom::object object;
            if (element.get_object().get(object))
                return u'[' + QString::number(index) + QStringLiteral("]: expected an object");
            JsonReader reader(&state, nullptr, {}, index++);
            reader.start(&object);
            visit(context, reader);
            if (!state.error.isEmpty())
                return state.error;
        }
    } else {
        dom::object top;
        if (document.get_object().get(top))
            return QStringLiteral("expected a JSON object at the top level");
        JsonReader reader(&state, nullptr, {}, -1);
        reader.start(&top);
        visit(context, reader);
    }
    return state.error;
}

QJsonValue encodeDate(Date date, DateForm form)
{
    if (form == DateForm::ReferenceSeconds)
        return date.referenceSeconds();
    return date.toIsoString();
}
