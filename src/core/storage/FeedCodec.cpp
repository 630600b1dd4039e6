#include "FeedCodec.h"

#include "model/Account.h"

#include <QFile>
#include <cerrno>
#include <QUrl>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

// ---------------------------------------------------------------------------------------
// Writing

namespace {

class FeedWriter
{
public:
    explicit FeedWriter(qsizetype eventCount) { grow(eventCount * 360 + 2); }

    QByteArray take()
    {
        m_out.resize(m_size);
        return std::move(m_out);
    }

    void raw(const char *text, qsizetype length)
    {
        std::memcpy(room(length), text, length);
        m_size += length;
    }
    template<qsizetype N>
    void literal(const char (&text)[N])
    {
        raw(text, N - 1);
    }

    // A JSON string from UTF-16: escapes what JSON requires, writes everything else as
    // UTF-8; a lone surrogate becomes U+FFFD, as QString::toUtf8 writes it.
    void string(QStringView text)
    {
        // Six bytes per unit covers the longest form, the escape of a control character.
        char *const start = room(text.size() * 6 + 2);
        char *dst = start;
        *dst++ = '"';
        const char16_t *p = text.utf16();
        const char16_t *end = p + text.size();
        while (p < end) {
            const char16_t c = *p++;
            if (c >= 0x20 && c < 0x80 && c != u'"' && c != u'\\') {
                *dst++ = static_cast<char>(c);
            } else if (c == u'"' || c == u'\\') {
                *dst++ = '\\';
                *dst++ = static_cast<char>(c);
            } else if (c < 0x20) {
                dst = control(dst, c);
            } else if (c < 0x800) {
                *dst++ = static_cast<char>(0xC0 | (c >> 6));
                *dst++ = static_cast<char>(0x80 | (c & 0x3F));
            } else if (QChar::isHighSurrogate(c) && p < end && QChar::isLowSurrogate(*p)) {
                const char32_t u = QChar::surrogateToUcs4(c, *p++);
                *dst++ = static_cast<char>(0xF0 | (u >> 18));
                *dst++ = static_cast<char>(0x80 | ((u >> 12) & 0x3F));
                *dst++ = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
                *dst++ = static_cast<char>(0x80 | (u & 0x3F));
            } else {
                const char16_t u = QChar::isSurrogate(c) ? char16_t(0xFFFD) : c;
                *dst++ = static_cast<char>(0xE0 | (u >> 12));
                *dst++ = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
                *dst++ = static_cast<char>(0x80 | (u & 0x3F));
            }
        }
        *dst++ = '"';
        m_size += dst - start;
    }

    // Shortest text that reads back as the same double. JSON has no infinity or NaN; the
    // general writer puts null there, and so does this one.
    void number(double value)
    {
        if (!std::isfinite(value)) {
            literal("null");
            return;
        }
        char *dst = room(32);
        const auto result = std::to_chars(dst, dst + 32, value);
        m_size += result.ptr - dst;
    }

    void date(Date date)
    {
        // Civil date from days since 1970 (Howard Hinnant's algorithm): the text
        // Date::toIsoString writes, without building a QDate per event.
        const auto whole = static_cast<qint64>(std::floor(date.unixSeconds()));
        qint64 days = whole / 86400;
        qint64 secondsOfDay = whole % 86400;
        if (secondsOfDay < 0) {
            secondsOfDay += 86400;
            --days;
        }
        const qint64 z = days + 719468;
        const qint64 era = (z >= 0 ? z : z - 146096) / 146097;
        const qint64 doe = z - era * 146097;
        const qint64 yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
        const qint64 doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
        const qint64 mp = (5 * doy + 2) / 153;
        const qint64 day = doy - (153 * mp + 2) / 5 + 1;
        const qint64 month = mp < 10 ? mp + 3 : mp - 9;
        const qint64 year = yoe + era * 400 + (month <= 2);
        if (year < 0 || year > 9999) {
            string(date.toIsoString());
            return;
        }
        char b[23] = "\"0000-00-00T00:00:00Z\"";
        auto two = [&](int at, qint64 v) {
            b[at] = char('0' + v / 10);
            b[at + 1] = char('0' + v % 10);
        };
        two(1, year / 100);
        two(3, year % 100);
        two(6, month);
        two(9, day);
        two(12, secondsOfDay / 3600);
        two(15, secondsOfDay / 60 % 60);
        two(18, secondsOfDay % 60);
        raw(b, 22);
    }

    void uuid(const QUuid &id)
    {
        // The canonical upper-case 36-character form, as uuidText writes it.
        static constexpr char hex[] = "0123456789ABCDEF";
        char b[38];
        int at = 0;
        b[at++] = '"';
        auto put = [&](quint64 v, int digits) {
            for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4)
                b[at++] = hex[(v >> shift) & 0xF];
        };
        put(id.data1, 8);
        b[at++] = '-';
        put(id.data2, 4);
        b[at++] = '-';
        put(id.data3, 4);
        b[at++] = '-';
        put(id.data4[0], 2);
        put(id.data4[1], 2);
        b[at++] = '-';
        for (int i = 2; i < 8; ++i)
            put(id.data4[i], 2);
        b[at++] = '"';
        raw(b, at);
    }

private:
    // Space for `n` more bytes at the end of what is written.
    char *room(qsizetype n)
    {
        if (m_size + n > m_out.size())
            grow(n);
        return m_buffer + m_size;
    }

    void grow(qsizetype n)
    {
        m_out.resize(std::max(m_out.size() * 2, m_size + n));
        m_buffer = m_out.data();
    }

    static char *control(char *dst, char16_t c)
    {
        static constexpr char hex[] = "0123456789abcdef";
        *dst++ = '\\';
        switch (c) {
        case u'\b': *dst++ = 'b'; break;
        case u'\f': *dst++ = 'f'; break;
        case u'\n': *dst++ = 'n'; break;
        case u'\r': *dst++ = 'r'; break;
        case u'\t': *dst++ = 't'; break;
        default:
            *dst++ = 'u';
            *dst++ = '0';
            *dst++ = '0';
            *dst++ = hex[c >> 4];
            *dst++ = hex[c & 0xF];
        }
        return dst;
    }

    QByteArray m_out; // written bytes, then spare room
    char *m_buffer = nullptr;
    qsizetype m_size = 0;
};

const char *kindRaw(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::New: return "new";
    case RevenueKind::Recurring: return "recurring";
    case RevenueKind::Churn: return "churn";
    case RevenueKind::Failed: return "failed";
    case RevenueKind::Refund: return "refund";
    }
    return "";
}

} // namespace

QByteArray encodeFeed(const QList<PaymentEvent> &feed)
{
    FeedWriter w(feed.size());
    w.literal("[");
    bool first = true;
    for (const PaymentEvent &e : feed) {
        if (!first)
            w.literal(",\n"); // one event a line: the reader takes the file in slices of lines
        first = false;
        w.literal("{\"id\":");
        w.string(e.id);
        w.literal(",\"date\":");
        w.date(e.date);
        w.literal(",\"amount\":");
        w.number(e.amount);
        w.literal(",\"currency\":");
        w.string(e.currency);
        w.literal(",\"usdAmount\":");
        w.number(e.usdAmount);
        w.literal(",\"accountId\":");
        w.uuid(e.accountId);
        w.literal(",\"accountName\":");
        w.string(e.accountName);
        w.literal(",\"kind\":\"");
        const char *kind = kindRaw(e.kind);
        w.raw(kind, qstrlen(kind));
        w.literal("\",\"description\":");
        w.string(e.description);
        if (e.customerEmail) {
            w.literal(",\"customerEmail\":");
            w.string(*e.customerEmail);
        }
        if (e.dashboardURL) {
            w.literal(",\"dashboardURL\":");
            w.string(*e.dashboardURL);
        }
        w.literal("}");
    }
    w.literal("]");
    return w.take();
}

// ---------------------------------------------------------------------------------------
// Reading

namespace {

bool isSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

std::optional<QList<PaymentEvent>> decodeWhole(QByteArrayView bytes)
{
    JsonParser parser;
    QList<PaymentEvent> out;
    const QString error = parser.readArray(
        bytes, [&out](JsonReader &reader) { out.append(PaymentEvent::decode(reader, DateForm::Iso8601)); });
    if (!error.isEmpty())
        return std::nullopt;
    return out;
}

// About how much text one slice of the feed holds. A quarter of a megabyte keeps the parser's
// buffers, the slice's copy and the file pages not yet given back small beside the events,
// and costs no time against larger slices.
constexpr qsizetype sliceBytes = 256 * 1024;

// The feed read in slices of whole lines. A raw line break can only stand between two JSON
// tokens, and the writer puts each event on a line of its own, so "[" + a run of lines
// (less its closing comma) + "]" is a document of whole events; all slices decoding is the
// whole array decoding, to the same events. A file cut otherwise (events broken over lines
// by hand) or broken anywhere is read whole, which gives the verdict. Slicing bounds the
// parser's index to about a slice at a time.
std::optional<QList<PaymentEvent>> decodeSlices(QByteArrayView bytes)
{
    const char *begin = bytes.data();
    const char *end = begin + bytes.size();
    while (begin < end && isSpace(*begin))
        ++begin;
    while (end > begin && isSpace(end[-1]))
        --end;
    if (end - begin < 2 || *begin != '[' || end[-1] != ']')
        return decodeWhole(bytes);
    const char *const inner = begin + 1;
    const char *const innerEnd = end - 1;

    JsonParser parser;
    QList<PaymentEvent> out;
    QByteArray slice;
    for (const char *at = inner; at < innerEnd || at == inner;) {
        const char *cut = innerEnd;
        if (innerEnd - at > sliceBytes) {
            const void *lineBreak = std::memchr(at + sliceBytes, '\n', innerEnd - at - sliceBytes);
            if (lineBreak)
                cut = static_cast<const char *>(lineBreak);
        }
        const char *sliceEnd = cut;
        while (sliceEnd > at && isSpace(sliceEnd[-1]))
            --sliceEnd;
        if (cut != innerEnd) {
            if (sliceEnd == at || sliceEnd[-1] != ',')
                return decodeWhole(bytes);
            --sliceEnd;
        }
        slice.resize(0);
        slice.reserve(sliceEnd - at + 2 + JsonParser::padding);
        slice.append('[').append(at, sliceEnd - at).append(']');
        const QString error = parser.readArray(
            slice, [&out](JsonReader &reader) { out.append(PaymentEvent::decode(reader, DateForm::Iso8601)); },
            slice.capacity());
        if (!error.isEmpty() || (cut != innerEnd && sliceEnd == at))
            return decodeWhole(bytes);
        if (at == inner && cut != innerEnd) // room for all events at the first slice's density
            out.reserve(qsizetype(double(out.size()) * double(innerEnd - inner) / double(cut - inner) * 1.02) + 16);
        if (cut == innerEnd)
            break;
        at = cut + 1;
    }
    return out;
}

} // namespace

std::optional<QList<PaymentEvent>> decodeFeed(QByteArrayView bytes)
{
    return decodeSlices(bytes);
}

namespace {

// Appends up to `count` bytes of `file` to `bytes`; false on a read error, with errno set.
bool readMore(QFile &file, QByteArray &bytes, qsizetype count)
{
    const qsizetype before = bytes.size();
    bytes.resize(before + count);
    errno = 0;
    const qint64 got = file.read(bytes.data() + before, count);
    bytes.resize(before + std::max<qint64>(got, 0));
    return got >= 0;
}

bool isBlank(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), isSpace);
}

} // namespace

FeedFileRead decodeFeedFile(QFile &file)
{
    const qint64 size = file.size();
    if (size <= 0)
        return {};
    // The same slices as decodeSlices, taken as the file is read: a large feed is never held
    // as bytes and events at once. Plain reads, not a mapping: a failing disk is then an error
    // to report, not a SIGBUS. A file that does not slice cleanly is read whole.
    const auto whole = [&file]() -> FeedFileRead {
        QByteArray bytes;
        if (!file.seek(0))
            return {std::nullopt, errno ? errno : EIO};
        while (!file.atEnd())
            if (!readMore(file, bytes, sliceBytes))
                return {std::nullopt, errno ? errno : EIO};
        return {decodeWhole(bytes), 0};
    };
    JsonParser parser;
    QList<PaymentEvent> out;
    QByteArray pending, slice;
    qint64 consumed = 0; // bytes of events behind
    bool opened = false; // the array's "[" is behind
    for (;;) {
        if (!readMore(file, pending, sliceBytes))
            return {std::nullopt, errno ? errno : EIO};
        const bool atEnd = file.atEnd();
        if (!opened) {
            const qsizetype first = pending.indexOf('[');
            if (first < 0 ? !isBlank(pending) || atEnd : !isBlank(QByteArrayView(pending).first(first)))
                return whole();
            if (first < 0)
                continue;
            pending.remove(0, first + 1);
            opened = true;
        }
        qsizetype cut = pending.size();
        if (!atEnd) {
            cut = pending.size() < sliceBytes ? -1 : pending.lastIndexOf('\n');
            if (cut < 0)
                continue;
        }
        QByteArrayView part = QByteArrayView(pending).first(cut).trimmed();
        if (atEnd) {
            if (!part.endsWith(']'))
                return whole();
            part.chop(1);
            part = part.trimmed();
        } else if (!part.isEmpty()) {
            if (!part.endsWith(','))
                return whole();
            part.chop(1);
        }
        if (!part.isEmpty()) {
            slice.resize(0);
            slice.reserve(part.size() + 2 + JsonParser::padding);
            slice.append('[').append(part).append(']');
            const QString error = parser.readArray(
                slice, [&out](JsonReader &reader) { out.append(PaymentEvent::decode(reader, DateForm::Iso8601)); },
                slice.capacity());
            if (!error.isEmpty())
                return whole();
        }
        if (atEnd)
            return {std::move(out), 0};
        if (consumed == 0) // room for all events at the first slice's density
            out.reserve(qsizetype(double(out.size()) * double(size) / double(cut + 1) * 1.02) + 16);
        consumed += cut + 1;
        pending.remove(0, cut + 1);
    }
}
