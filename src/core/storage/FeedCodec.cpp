#include "FeedCodec.h"

#include "model/Account.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#ifdef Q_OS_LINUX
#include <sys/mman.h>
#include <unistd.h>
#endif

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
            w.literal(",");
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
            w.string(e.dashboardURL->toString(QUrl::FullyEncoded));
        }
        w.literal("}");
    }
    w.literal("]");
    return w.take();
}

// ---------------------------------------------------------------------------------------
// Reading

std::optional<QList<PaymentEvent>> decodeFeedGeneral(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !doc.isArray())
        return std::nullopt;
    const QJsonArray array = doc.array();
    QList<PaymentEvent> out;
    out.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            return std::nullopt;
        JsonReader reader(value.toObject());
        PaymentEvent event = PaymentEvent::decode(reader, DateForm::Iso8601);
        if (reader.failed())
            return std::nullopt; // one bad element loses the whole file
        out.append(std::move(event));
    }
    return out;
}

namespace {

// Hands the pages of a read-only file mapping back to the system once the reader is past
// them, so a large feed never sits in memory twice (as file bytes and as events). Pages
// read again (the general path after a strict failure) come back from the file.
class MappedPages
{
public:
    MappedPages(const char *begin, const char *end) : m_begin(begin), m_released(begin), m_end(end) {}

    void releaseBefore(const char *cursor)
    {
#ifdef Q_OS_LINUX
        static const qsizetype page = sysconf(_SC_PAGESIZE);
        const qsizetype chunk = 4 * 1024 * 1024;
        if (cursor - m_released < chunk && cursor != m_end)
            return;
        const auto offset = (cursor - m_begin) / page * page;
        const char *upTo = m_begin + offset;
        if (upTo > m_released)
            madvise(const_cast<char *>(m_released), upTo - m_released, MADV_DONTNEED);
        m_released = upTo;
#else
        Q_UNUSED(cursor);
#endif
    }
    // After a look over the whole file: give it all back and start again from the top.
    void releaseAll()
    {
        m_released = m_begin;
        releaseBefore(m_end);
        m_released = m_begin;
    }

private:
    const char *m_begin;
    const char *m_released;
    const char *m_end;
};

// Reads exactly the shape encodeFeed writes (in any key order, with any whitespace, with
// extra scalar keys) and gives up on anything else, leaving the verdict to the general path.
class FeedReader
{
public:
    FeedReader(const char *begin, const char *end, MappedPages *pages = nullptr)
        : m_p(begin)
        , m_end(end)
        , m_pages(pages)
    {
    }

    std::optional<QList<PaymentEvent>> read()
    {
        QList<PaymentEvent> out;
        skipSpace();
        if (!consume('['))
            return std::nullopt;
        out.reserve(estimateCount());
        if (m_pages)
            m_pages->releaseAll();
        skipSpace();
        if (consume(']'))
            return finish(std::move(out));
        for (;;) {
            PaymentEvent event;
            if (!readEvent(event))
                return std::nullopt;
            out.append(std::move(event));
            if (m_pages)
                m_pages->releaseBefore(m_p);
            skipSpace();
            if (consume(','))
                continue;
            if (consume(']'))
                return finish(std::move(out));
            return std::nullopt;
        }
    }

private:
    enum Key : quint16 {
        Id = 1 << 0,
        DateKey = 1 << 1,
        Amount = 1 << 2,
        Currency = 1 << 3,
        UsdAmount = 1 << 4,
        AccountId = 1 << 5,
        AccountName = 1 << 6,
        Kind = 1 << 7,
        Description = 1 << 8,
        CustomerEmail = 1 << 9,
        DashboardURL = 1 << 10,
        Unknown = 0,
    };
    static constexpr quint16 required = Id | DateKey | Amount | Currency | UsdAmount | AccountId | AccountName | Kind
        | Description;

    // A scanned JSON string: its raw bytes between the quotes, and whether it needs more
    // than a plain copy.
    struct Token
    {
        const char *begin = nullptr;
        qsizetype size = 0;
        bool escaped = false;
        bool ascii = true;
        QByteArrayView view() const { return QByteArrayView(begin, size); }
    };

    std::optional<QList<PaymentEvent>> finish(QList<PaymentEvent> out)
    {
        skipSpace();
        if (m_p != m_end)
            return std::nullopt;
        return out;
    }

    qsizetype estimateCount() const
    {
        // Every event opens one brace; braces inside texts only make the guess a little
        // high. Reserving once keeps the list from doubling (and briefly holding two
        // copies) while a large feed loads.
        qsizetype braces = 0;
        for (const char *p = m_p; (p = static_cast<const char *>(std::memchr(p, '{', m_end - p))); ++p)
            ++braces;
        return braces;
    }

    void skipSpace()
    {
        while (m_p < m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    bool consume(char c)
    {
        if (m_p < m_end && *m_p == c) {
            ++m_p;
            return true;
        }
        return false;
    }

    bool scanString(Token &token)
    {
        if (!consume('"'))
            return false;
        token = Token{m_p};
        while (m_p < m_end) {
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '"') {
                token.size = m_p - token.begin;
                ++m_p;
                return true;
            }
            if (c == '\\') {
                token.escaped = true;
                m_p += 2; // the escaped character is checked when the text is built
                continue;
            }
            if (c < 0x20)
                return false; // a raw control character: the general parser decides
            if (c >= 0x80)
                token.ascii = false;
            ++m_p;
        }
        return false;
    }

    static Key keyOf(QByteArrayView name)
    {
        switch (name.size()) {
        case 2: return name == "id" ? Id : Unknown;
        case 4: return name == "date" ? DateKey : name == "kind" ? Kind : Unknown;
        case 6: return name == "amount" ? Amount : Unknown;
        case 8: return name == "currency" ? Currency : Unknown;
        case 9: return name == "usdAmount" ? UsdAmount : name == "accountId" ? AccountId : Unknown;
        case 11: return name == "accountName" ? AccountName : name == "description" ? Description : Unknown;
        case 12: return name == "dashboardURL" ? DashboardURL : Unknown;
        case 13: return name == "customerEmail" ? CustomerEmail : Unknown;
        default: return Unknown;
        }
    }

    bool readEvent(PaymentEvent &event)
    {
        skipSpace();
        if (!consume('{'))
            return false;
        quint16 seen = 0;
        skipSpace();
        if (consume('}'))
            return false; // required keys missing
        for (;;) {
            skipSpace();
            Token name;
            if (!scanString(name) || name.escaped)
                return false;
            const Key key = keyOf(name.view());
            if (key != Unknown) {
                if (seen & key)
                    return false; // a repeated key: leave it to the general parser
                seen |= key;
            }
            skipSpace();
            if (!consume(':'))
                return false;
            skipSpace();
            if (!readValue(key, event))
                return false;
            skipSpace();
            if (consume(','))
                continue;
            if (consume('}'))
                return (seen & required) == required;
            return false;
        }
    }

    bool readValue(Key key, PaymentEvent &event)
    {
        if (m_p >= m_end)
            return false;
        switch (key) {
        case Id: return readString(event.id);
        case Currency: return readInterned(event.currency);
        case AccountName: return readInterned(event.accountName);
        case Description: return readInterned(event.description);
        case Amount: return readNumber(event.amount);
        case UsdAmount: return readNumber(event.usdAmount);
        case DateKey: return readDate(event.date);
        case AccountId: return readUuid(event.accountId);
        case Kind: return readKind(event.kind);
        case CustomerEmail:
            if (readNull())
                return true;
            event.customerEmail.emplace();
            return readString(*event.customerEmail);
        case DashboardURL: {
            if (readNull())
                return true;
            QString text;
            if (!readString(text))
                return false;
            QUrl url(text, QUrl::StrictMode);
            if (!url.isValid())
                return false;
            event.dashboardURL = std::move(url);
            return true;
        }
        case Unknown: return skipScalar();
        }
        return false;
    }

    bool readNull()
    {
        if (m_end - m_p >= 4 && std::memcmp(m_p, "null", 4) == 0) {
            m_p += 4;
            return true;
        }
        return false;
    }

    // An unknown key's value. Only scalars are skipped here; nested values are rare enough
    // to leave to the general parser.
    bool skipScalar()
    {
        if (*m_p == '"') {
            Token token;
            if (!scanString(token))
                return false;
            QString ignored;
            return !token.escaped && token.ascii ? true : text(token, ignored);
        }
        for (const char *word : {"null", "true", "false"}) {
            const qsizetype n = qstrlen(word);
            if (m_end - m_p >= n && std::memcmp(m_p, word, n) == 0) {
                m_p += n;
                return true;
            }
        }
        double ignored;
        return readNumber(ignored);
    }

    bool readString(QString &out)
    {
        Token token;
        return scanString(token) && text(token, out);
    }

    // Short texts that repeat across the feed (currencies, account names, descriptions)
    // share one QString, which keeps a loaded feed small.
    bool readInterned(QString &out)
    {
        Token token;
        if (!scanString(token))
            return false;
        if (token.escaped || token.size > 96)
            return text(token, out);
        for (Interned &slot : m_interned) {
            if (slot.bytes.size() == token.size && std::memcmp(slot.bytes.constData(), token.begin, token.size) == 0) {
                out = slot.text;
                return true;
            }
        }
        if (!text(token, out))
            return false;
        Interned &slot = m_interned[m_nextSlot++ % m_interned.size()];
        slot.bytes = QByteArray(token.begin, token.size);
        slot.text = out;
        return true;
    }

    bool text(const Token &token, QString &out)
    {
        if (!token.escaped && token.ascii) {
            out = QString::fromLatin1(token.begin, token.size);
            return true;
        }
        // UTF-8 with escapes, validated strictly: anything malformed is the general
        // parser's call.
        out.resize(token.size);
        char16_t *dst = reinterpret_cast<char16_t *>(out.data());
        char16_t *const start = dst;
        const auto *p = reinterpret_cast<const unsigned char *>(token.begin);
        const auto *end = p + token.size;
        while (p < end) {
            const unsigned char c = *p;
            if (c == '\\') {
                if (end - p < 2)
                    return false;
                const unsigned char e = p[1];
                p += 2;
                switch (e) {
                case '"': *dst++ = u'"'; break;
                case '\\': *dst++ = u'\\'; break;
                case '/': *dst++ = u'/'; break;
                case 'b': *dst++ = u'\b'; break;
                case 'f': *dst++ = u'\f'; break;
                case 'n': *dst++ = u'\n'; break;
                case 'r': *dst++ = u'\r'; break;
                case 't': *dst++ = u'\t'; break;
                case 'u': {
                    char16_t unit;
                    if (!hex4(p, end, unit))
                        return false;
                    p += 4;
                    // Escaped surrogates (pairs or not) are rare; the general parser's
                    // handling of them is the rule.
                    if (QChar::isSurrogate(unit))
                        return false;
                    *dst++ = unit;
                    break;
                }
                default: return false;
                }
            } else if (c < 0x80) {
                *dst++ = c;
                ++p;
            } else {
                char32_t u;
                int length;
                if ((c & 0xE0) == 0xC0) {
                    u = c & 0x1F;
                    length = 2;
                } else if ((c & 0xF0) == 0xE0) {
                    u = c & 0x0F;
                    length = 3;
                } else if ((c & 0xF8) == 0xF0) {
                    u = c & 0x07;
                    length = 4;
                } else {
                    return false;
                }
                if (end - p < length)
                    return false;
                for (int i = 1; i < length; ++i) {
                    if ((p[i] & 0xC0) != 0x80)
                        return false;
                    u = (u << 6) | (p[i] & 0x3F);
                }
                static constexpr char32_t minimum[] = {0, 0, 0x80, 0x800, 0x10000};
                if (u < minimum[length] || u > 0x10FFFF || (u >= 0xD800 && u <= 0xDFFF) || QChar::isNonCharacter(u))
                    return false;
                p += length;
                if (u >= 0x10000) {
                    *dst++ = QChar::highSurrogate(u);
                    *dst++ = QChar::lowSurrogate(u);
                } else {
                    *dst++ = static_cast<char16_t>(u);
                }
            }
        }
        out.resize(dst - start);
        return true;
    }

    static bool hex4(const unsigned char *p, const unsigned char *end, char16_t &out)
    {
        if (end - p < 4)
            return false;
        char16_t v = 0;
        for (int i = 0; i < 4; ++i) {
            const unsigned char c = p[i];
            int d;
            if (c >= '0' && c <= '9')
                d = c - '0';
            else if (c >= 'a' && c <= 'f')
                d = c - 'a' + 10;
            else if (c >= 'A' && c <= 'F')
                d = c - 'A' + 10;
            else
                return false;
            v = static_cast<char16_t>(v << 4 | d);
        }
        out = v;
        return true;
    }

    // JSON's number grammar, read as the general parser reads it: a plain integer that fits
    // 64 bits becomes that integer's double; everything else is the correctly rounded
    // double of the text.
    bool readNumber(double &out)
    {
        const char *start = m_p;
        const char *p = m_p;
        if (p < m_end && *p == '-')
            ++p;
        if (p >= m_end)
            return false;
        if (*p == '0') {
            ++p;
        } else if (*p >= '1' && *p <= '9') {
            while (p < m_end && *p >= '0' && *p <= '9')
                ++p;
        } else {
            return false;
        }
        bool integral = true;
        if (p < m_end && *p == '.') {
            integral = false;
            const char *digits = ++p;
            while (p < m_end && *p >= '0' && *p <= '9')
                ++p;
            if (p == digits)
                return false;
        }
        if (p < m_end && (*p == 'e' || *p == 'E')) {
            integral = false;
            ++p;
            if (p < m_end && (*p == '+' || *p == '-'))
                ++p;
            const char *digits = p;
            while (p < m_end && *p >= '0' && *p <= '9')
                ++p;
            if (p == digits)
                return false;
        }
        if (integral) {
            qint64 whole;
            const auto [end, error] = std::from_chars(start, p, whole);
            if (error == std::errc() && end == p) {
                out = static_cast<double>(whole);
                m_p = p;
                return true;
            }
        }
        double value;
        const auto [end, error] = std::from_chars(start, p, value);
        if (error != std::errc() || end != p || !std::isfinite(value))
            return false;
        out = value;
        m_p = p;
        return true;
    }

    bool readDate(Date &out)
    {
        Token token;
        if (!scanString(token) || token.escaped || !token.ascii || token.size > 64)
            return false;
        char16_t buffer[64];
        for (qsizetype i = 0; i < token.size; ++i)
            buffer[i] = static_cast<unsigned char>(token.begin[i]);
        const auto date = Date::fromIsoString(QStringView(buffer, token.size));
        if (!date)
            return false;
        out = *date;
        return true;
    }

    bool readUuid(QUuid &out)
    {
        Token token;
        if (!scanString(token) || token.escaped || token.size != 36)
            return false;
        // A feed names a handful of accounts; each text is parsed once.
        for (const auto &[bytes, id] : m_uuids) {
            if (std::memcmp(bytes.data(), token.begin, 36) == 0) {
                out = id;
                return true;
            }
        }
        const QUuid id = QUuid::fromString(QLatin1StringView(token.begin, 36));
        if (id.isNull())
            return false;
        if (m_uuids.size() < 64) {
            std::array<char, 36> bytes;
            std::memcpy(bytes.data(), token.begin, 36);
            m_uuids.append({bytes, id});
        }
        out = id;
        return true;
    }

    bool readKind(RevenueKind &out)
    {
        Token token;
        if (!scanString(token) || token.escaped)
            return false;
        for (RevenueKind kind : allRevenueKinds) {
            if (token.view() == QByteArrayView(kindRaw(kind))) {
                out = kind;
                return true;
            }
        }
        return false;
    }

    struct Interned
    {
        QByteArray bytes;
        QString text;
    };

    const char *m_p;
    const char *m_end;
    MappedPages *m_pages;
    std::array<Interned, 32> m_interned;
    std::size_t m_nextSlot = 0;
    QList<std::pair<std::array<char, 36>, QUuid>> m_uuids;
};

} // namespace

std::optional<QList<PaymentEvent>> decodeFeedStrict(const QByteArray &bytes)
{
    return FeedReader(bytes.constData(), bytes.constData() + bytes.size()).read();
}

std::optional<QList<PaymentEvent>> decodeFeed(const QByteArray &bytes)
{
    if (auto fast = decodeFeedStrict(bytes))
        return fast;
    return decodeFeedGeneral(bytes);
}

std::optional<QList<PaymentEvent>> decodeFeedFile(QFile &file)
{
    const qint64 size = file.size();
    if (size <= 0)
        return std::nullopt;
    // The file is only ever replaced by renaming a new one over it, never rewritten in
    // place, so the mapped bytes stay as they were while they are read.
    if (uchar *mapped = size < std::numeric_limits<qsizetype>::max() ? file.map(0, size) : nullptr) {
        const char *begin = reinterpret_cast<const char *>(mapped);
        MappedPages pages(begin, begin + size);
        auto fast = FeedReader(begin, begin + size, &pages).read();
        if (!fast)
            fast = decodeFeedGeneral(QByteArray::fromRawData(begin, static_cast<qsizetype>(size)));
        file.unmap(mapped);
        return fast;
    }
    if (!file.seek(0))
        return std::nullopt;
    return decodeFeed(file.readAll());
}
