#pragma once

#include "json/EnumRaw.h"
#include "util/Date.h"
#include "util/Result.h"

#include <QByteArrayView>
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

class JsonParser;

// Reads typed fields out of one JSON object of a document parsed by simdjson (its DOM), and
// remembers the first failure with its key path. Required readers return a neutral value
// after a failure; callers check failed() once at the end, which keeps decoders flat.
//
// Keys may be asked for in any order; each search starts where the last one ended, so
// asking in the order the object holds its members costs one walk over them. A reader is
// only lent to decoders, never kept: it points into the parser's document and to its
// parent (for the key path).
class JsonReader
{
public:
    using Key = QLatin1StringView;

    JsonReader(const JsonReader &) = delete;
    JsonReader &operator=(const JsonReader &) = delete;
    JsonReader(JsonReader &&other) noexcept;
    ~JsonReader();

    struct Cursor; // where the reader is in its object; only the reader's own code looks inside

    bool failed() const;
    const QString &error() const;
    void fail(const QString &message);
    void failKey(Key key, const char *what);
    QString pathOf(Key key) const;

    JsonKind kind(Key key);

    QString string(Key key);
    std::optional<QString> optString(Key key);
    double number(Key key);
    // A number that must be a sane amount (see AmountBounds): beyond ±10^12 it fails.
    double amount(Key key);
    std::optional<double> optNumber(Key key);
    qint64 integer(Key key);
    std::optional<qint64> optInteger(Key key);
    // A whole number of minor units (cents, yen) held to the same bounds as amount().
    qint64 minorAmount(Key key);
    std::optional<qint64> optMinorAmount(Key key);
    bool boolean(Key key);
    std::optional<bool> optBoolean(Key key);
    QUuid uuid(Key key);
    std::optional<QUrl> optUrl(Key key);
    Date date(Key key, DateForm form);
    std::optional<Date> optDate(Key key, DateForm form);
    // An object of string values, such as metadata.
    std::optional<QMap<QString, QString>> optStringMap(Key key);
    // A string whose few values recur from record to record (currencies, statuses, account
    // names): made once per document for the same text and shared.
    QString recurringString(Key key);
    std::optional<QString> optRecurringString(Key key);

    template<typename E>
    E enumeration(Key key)
    {
        const QString text = recurringString(key);
        if (failed())
            return E{};
        if (auto value = fromRaw<E>(text))
            return *value;
        fail(pathOf(key) + QStringLiteral(": unknown value \"") + text + u'"');
        return E{};
    }

    // A reader of the object `key`: required, or optional (absent and null give nothing).
    std::optional<JsonReader> nested(Key key);
    std::optional<JsonReader> optNested(Key key);

    // Calls `f` with a reader for each element of the array of objects `key`, until one
    // fails. The required form fails when the array is absent; the optional one returns
    // whether it was there.
    template<typename F>
    void forEachObject(Key key, F &&f)
    {
        eachObject(key, true, &visit<F>, &f);
    }
    template<typename F>
    bool forEachOptObject(Key key, F &&f)
    {
        return eachObject(key, false, &visit<F>, &f);
    }
    // Like forEachOptObject (or forEachObject when `required`), except that one bad element
    // does not fail the array: an element that is not an object, or that `decode` fails on,
    // has its failure dropped, and `skipped` hears of it with a fresh reader of the element
    // (null when it is not an object) to read what it can, its own failures dropped as well.
    template<typename F, typename S>
    bool forEachObjectSkippingBad(Key key, bool required, F &&decode, S &&skipped)
    {
        SkipHandler handler{&visitSkipped<S>, &skipped};
        return eachObject(key, required, &visit<F>, &decode, &handler);
    }
    // The number of elements of the array `key`; 0 when it is not an array.
    qsizetype arraySize(Key key);

private:
    friend class JsonParser;
    struct State;
    using Visit = void (*)(void *context, JsonReader &element);

    template<typename F>
    static void visit(void *context, JsonReader &element)
    {
        (*static_cast<F *>(context))(element);
    }

    struct SkipHandler
    {
        void (*visit)(void *context, JsonReader *element);
        void *context;
    };
    template<typename S>
    static void visitSkipped(void *context, JsonReader *element)
    {
        (*static_cast<S *>(context))(element);
    }

    JsonReader(State *state, const JsonReader *parent, Key key, qsizetype index);
    bool eachObject(Key key, bool required, Visit visit, void *context, const SkipHandler *skip = nullptr);
    QString ownPath() const;
    std::optional<QString> optRecurringString(Key key, bool required);
    std::optional<qint64> optMinorAmount(Key key, bool required);
    Cursor &cursor();
    void start(const void *object); // a simdjson::dom::object

    State *m_state;
    const JsonReader *m_parent; // for the key path of failures
    Key m_key;
    qsizetype m_index;
    // simdjson's object and the place of the last member found, kept here without its header.
    alignas(8) unsigned char m_cursor[48];
};

// Parses whole documents with simdjson and lends their top level to decoders. It keeps its
// buffers from one document to the next; forThisThread() serves ordinary bodies and files,
// a document much larger than those deserves its own parser that goes away with it.
class JsonParser
{
public:
    // Bytes simdjson may read past the end of a document (it reads in wide blocks).
    static constexpr qsizetype padding = 64;

    JsonParser();
    ~JsonParser();
    JsonParser(const JsonParser &) = delete;
    JsonParser &operator=(const JsonParser &) = delete;

    static JsonParser &forThisThread();

    // How many bytes may be read from the start of `bytes`: its own and the room Qt keeps
    // after them (a body read with room to spare is parsed where it lies).
    static qsizetype readableBytes(const QByteArray &bytes)
    {
        return bytes.size() + const_cast<QByteArray &>(bytes).data_ptr().freeSpaceAtEnd(); // data_ptr() only looks
    }

    // Hands the document's top-level object to `decode`; returns the first failure's text,
    // empty on success. `readable` is how many bytes may be read from `json` on (its size
    // at least); with `padding` to spare the text is parsed where it is, else it is copied.
    template<typename F>
    QString readObject(QByteArrayView json, F &&decode, qsizetype readable = 0)
    {
        return read(json, readable, false, &JsonReader::visit<F>, &decode);
    }
    // Hands each element of the document's top-level array to `decode`; every element must
    // be an object.
    template<typename F>
    QString readArray(QByteArrayView json, F &&decode, qsizetype readable = 0)
    {
        return read(json, readable, true, &JsonReader::visit<F>, &decode);
    }

private:
    QString read(QByteArrayView json, qsizetype readable, bool array, JsonReader::Visit visit, void *context);

    struct Private;
    std::unique_ptr<Private> d;
};

// Decodes a whole document's top-level object with `decode(reader)`, or says what failed.
template<typename Decode, typename T = std::invoke_result_t<Decode, JsonReader &>>
Result<T, QString> decodeJsonObject(QByteArrayView json, Decode &&decode, qsizetype readable = 0)
{
    std::optional<T> value;
    const QString error = JsonParser::forThisThread().readObject(
        json, [&value, &decode](JsonReader &reader) { value.emplace(decode(reader)); }, readable);
    if (!error.isEmpty())
        return error;
    return std::move(*value);
}

QJsonValue encodeDate(Date date, DateForm form);
