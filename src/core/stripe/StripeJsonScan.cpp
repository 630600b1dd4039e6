#include "StripeJsonScan.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace StripeJsonScan {

namespace {

using namespace std::string_view_literals;
using detail::readKeys;

// Duplicate read keys are found with one bit per key.
static_assert(readKeys.size() <= 64 && readKeys.size() < otherKey);

constexpr std::size_t longestKey = std::ranges::max(readKeys, {}, &std::string_view::size).size();
static_assert(longestKey <= 24); // keys are compared as up to three 8-byte words

std::uint64_t load64(const char *p)
{
    std::uint64_t word;
    std::memcpy(&word, p, 8);
    return word;
}

// The read keys in a table without collisions, found by a hash of a key's length and first
// eight bytes: the lookup runs for every key of a kept object, and most of those keys are
// not read, so a miss must cost one slot compare.
constexpr std::size_t keyTableBits = 8;
constexpr std::size_t keyTableSize = std::size_t(1) << keyTableBits;

// The first eight bytes of a key as one word (zero-padded), as a little-endian load reads them.
constexpr std::uint64_t prefixOf(std::string_view key)
{
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(key.size(), 8); ++i)
        word |= std::uint64_t(uchar(key[i])) << (8 * i);
    return word;
}
static_assert(std::endian::native == std::endian::little, "prefixOf mirrors a little-endian load");

constexpr std::size_t keyHash(std::uint64_t prefix, std::size_t length, std::uint64_t multiplier)
{
    return std::size_t(((prefix ^ (length * 0x9E3779B97F4A7C15u)) * multiplier) >> (64 - keyTableBits));
}

struct KeySlot
{
    std::uint64_t prefix = 0;
    std::uint32_t length = 0; // 0: empty
    std::int32_t id = -1;
};

struct KeyTable
{
    std::uint64_t multiplier = 0;
    std::array<KeySlot, keyTableSize> slots{};
};

// Tries odd multipliers until every read key has a slot of its own.
constexpr KeyTable keyTable = [] {
    for (std::uint64_t multiplier = 0x2545F4914F6CDD1Du;; multiplier += 0x9E3779B97F4A7C16u) {
        KeyTable table{multiplier, {}};
        bool collided = false;
        for (std::size_t i = 0; i < readKeys.size() && !collided; ++i) {
            KeySlot &slot = table.slots[keyHash(prefixOf(readKeys[i]), readKeys[i].size(), multiplier)];
            collided = slot.length != 0;
            slot = {prefixOf(readKeys[i]), std::uint32_t(readKeys[i].size()), std::int32_t(i)};
        }
        if (!collided)
            return table;
    }
}();

// The read-key id of the key at `key` of `length` bytes, or -1. The body holds at least
// eight bytes from `key` on unless `key + 8 > end`.
int keyId(const char *key, std::size_t length, const char *end)
{
    if (length == 0 || length > longestKey)
        return -1;
    std::uint64_t prefix;
    if (length >= 8) {
        prefix = load64(key);
    } else if (end - key >= 8) {
        prefix = load64(key) & ((std::uint64_t(1) << (8 * length)) - 1);
    } else {
        prefix = prefixOf(std::string_view(key, length));
    }
    const KeySlot &slot = keyTable.slots[keyHash(prefix, length, keyTable.multiplier)];
    if (slot.prefix != prefix || slot.length != length)
        return -1;
    // Past eight bytes, the rest is compared as the word ending the key and, for keys longer
    // than sixteen, the one in the middle.
    if (length > 8) {
        const char *text = readKeys[std::size_t(slot.id)].data();
        if (load64(key + length - 8) != load64(text + length - 8)
            || (length > 16 && load64(key + 8) != load64(text + 8)))
            return -1;
    }
    return slot.id;
}

int keyId(std::string_view key)
{
    return keyId(key.data(), key.size(), key.data() + key.size());
}

// The key whose object is read whole, every member kept.
const int wholeObjectKey = keyId("metadata"sv);

// Numbers longer than this, or with an exponent, are left to the full parser, which decides
// their range; Stripe sends neither.
constexpr std::ptrdiff_t longestNumber = 64;
// Integers with more digits than this may not fit 64 bits; the full parser decides them.
constexpr std::ptrdiff_t longestExactInteger = 18;

// String bytes needing no further look: printable ASCII other than the quote and backslash.
constexpr auto plainStringBytes = [] {
    std::array<bool, 256> table{};
    for (int c = 0x20; c < 0x80; ++c)
        table[c] = c != '"' && c != '\\';
    return table;
}();

// Whether any of eight string bytes needs a closer look: a quote, backslash, control byte or
// non-ASCII byte.
bool wordNeedsLook(std::uint64_t word)
{
    constexpr std::uint64_t ones = 0x0101010101010101u;
    constexpr std::uint64_t highs = 0x8080808080808080u;
    const auto hasZeroByte = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    const std::uint64_t below0x20 = (word - ones * 0x20) & ~word & highs;
    return (hasZeroByte(word ^ (ones * '"')) | hasZeroByte(word ^ (ones * '\\')) | below0x20 | (word & highs)) != 0;
}

// The first byte from `p` on that ends a run of plain string bytes, or `end`, a byte at a
// time: for the last few bytes of a body.
[[gnu::noinline]] const char *plainRunEndSlowly(const char *p, const char *end)
{
    for (; end - p >= 8; p += 8)
        if (wordNeedsLook(load64(p)))
            break;
    while (p != end && plainStringBytes[uchar(*p)])
        ++p;
    return p;
}

// The first byte from `p` on that ends a run of plain string bytes, or `end`. Keys, ids and
// URLs are most of a body, so the run is looked at sixteen bytes at a time.
[[gnu::always_inline]] inline const char *plainRunEnd(const char *p, const char *end)
{
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    const __m128i space = _mm_set1_epi8(0x20);
    for (; end - p >= 16; p += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        // A signed compare: bytes from 0x80 on, non-ASCII, are below the space too.
        const __m128i look = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)),
                                          _mm_cmplt_epi8(bytes, space));
        if (const unsigned mask = unsigned(_mm_movemask_epi8(look)))
            return p + std::countr_zero(mask);
    }
#endif
    return plainRunEndSlowly(p, end);
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The first byte from `p` on that is not a decimal digit, or `end`; eight bytes at a time.
const char *digitRunEnd(const char *p, const char *end)
{
    constexpr std::uint64_t highNibbles = 0xF0F0F0F0F0F0F0F0u;
    constexpr std::uint64_t lowNibbles = 0x0F0F0F0F0F0F0F0Fu;
    for (; end - p >= 8; p += 8) {
        const std::uint64_t t = load64(p) ^ 0x3030303030303030u; // digits become 0 to 9
        // A byte is no digit if its high nibble is set or its low one exceeds 9.
        const std::uint64_t nonDigit = (t & highNibbles) | (((t & lowNibbles) + 0x0606060606060606u) & 0x1010101010101010u);
        if (nonDigit)
            return p + std::countr_zero(nonDigit) / 8;
    }
    while (p != end && isDigit(*p))
        ++p;
    return p;
}

bool isHexDigit(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

constexpr std::uint32_t noNode = std::numeric_limits<std::uint32_t>::max();

// How the members of an object are kept: those some record reads, all of them, or none
// (the object itself is a kept value whose contents nobody reads).
enum class Keep { ReadKeys, All, Nothing };

} // namespace

class Scanner
{
public:
    Scanner(QByteArrayView body, std::vector<Node> &nodes, std::vector<std::uint32_t> &slots)
        : m_begin(body.data()), m_p(body.data()), m_end(body.data() + body.size()), m_nodes(nodes), m_slots(slots)
    {
    }

    bool run()
    {
        skipSpace();
        if (m_p == m_end || *m_p != '{')
            return false;
        m_nodes.push_back(Node{.type = Node::Type::Object});
        if (!object(1, 0, Keep::ReadKeys))
            return false;
        skipSpace();
        return m_p == m_end;
    }

private:
    void skipSpace()
    {
        while (m_p != m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    std::uint32_t offset(const char *p) const { return std::uint32_t(p - m_begin); }

    // Appends a node for a member or element of `container` after `last`, its last child.
    std::uint32_t append(std::uint32_t container, std::uint32_t &last, std::uint8_t key)
    {
        const auto index = std::uint32_t(m_nodes.size());
        m_nodes.push_back(Node{.key = key});
        if (last != 0)
            m_nodes[last].next = index;
        else
            m_nodes[container].first = index;
        ++m_nodes[container].count;
        last = index;
        return index;
    }

    // The members of the object at the cursor, `member(key, escaped)` reading each value;
    // `depth` is the object's.
    template<typename Member>
    bool members(int depth, Member &&member)
    {
        if (depth > maxDepth)
            return false;
        ++m_p;
        skipSpace();
        if (m_p != m_end && *m_p == '}') {
            ++m_p;
            return true;
        }
        for (;;) {
            skipSpace();
            if (m_p == m_end || *m_p != '"')
                return false;
            const char *const keyStart = m_p + 1;
            bool escaped = false;
            if (!string(escaped))
                return false;
            const std::string_view key(keyStart, size_t(m_p - 1 - keyStart));
            skipSpace();
            if (m_p == m_end || *m_p != ':')
                return false;
            ++m_p;
            if (!member(key, escaped))
                return false;
            skipSpace();
            if (m_p == m_end)
                return false;
            if (*m_p == ',') {
                ++m_p;
                continue;
            }
            if (*m_p != '}')
                return false;
            ++m_p;
            return true;
        }
    }

    // The elements of the array at the cursor, `element()` reading each.
    template<typename Element>
    bool elements(int depth, Element &&element)
    {
        if (depth > maxDepth)
            return false;
        ++m_p;
        skipSpace();
        if (m_p != m_end && *m_p == ']') {
            ++m_p;
            return true;
        }
        for (;;) {
            if (!element())
                return false;
            skipSpace();
            if (m_p == m_end)
                return false;
            if (*m_p == ']') {
                ++m_p;
                return true;
            }
            if (*m_p != ',')
                return false;
            ++m_p;
        }
    }

    // A value nobody reads, inside a container at `depth`: validated, nothing kept. Most of
    // a body goes through here, so it carries no node bookkeeping.
    bool skip(int depth)
    {
        skipSpace();
        if (m_p == m_end)
            return false;
        // Tests in order of how often each kind turns up, rather than a switch: a jump
        // table's single indirect branch is mispredicted more often than these.
        const char c = *m_p;
        if (c == '"') {
            bool escaped = false;
            return string(escaped);
        }
        if (c == 'n')
            return literal("null");
        if (c == '{')
            return members(depth + 1, [this, depth](std::string_view, bool) { return skip(depth + 1); });
        if (c == 't')
            return literal("true");
        if (c == 'f')
            return literal("false");
        if (c == '[')
            return elements(depth + 1, [this, depth] { return skip(depth + 1); });
        return number(noNode);
    }

    // A kept value, stored into node `into`. `keep` says what to keep of its members when
    // it is an object.
    bool value(int depth, std::uint32_t into, Keep keep)
    {
        skipSpace();
        if (m_p == m_end)
            return false;
        switch (*m_p) {
        case '{':
            m_nodes[into].type = Node::Type::Object;
            return keep == Keep::Nothing ? skip(depth) : object(depth + 1, into, keep);
        case '[':
            m_nodes[into].type = Node::Type::Array;
            return keep == Keep::Nothing ? skip(depth) : array(depth + 1, into);
        case '"': {
            const char *const start = m_p + 1;
            bool escaped = false;
            if (!string(escaped))
                return false;
            Node &node = m_nodes[into];
            node.type = Node::Type::String;
            node.flag = escaped;
            node.textStart = offset(start);
            node.textLength = offset(m_p - 1) - node.textStart;
            return true;
        }
        case 't':
        case 'f': {
            const bool truth = *m_p == 't';
            if (!(truth ? literal("true") : literal("false")))
                return false;
            m_nodes[into].type = Node::Type::Boolean;
            m_nodes[into].flag = truth;
            return true;
        }
        case 'n':
            return literal("null");
        default:
            return number(into);
        }
    }

    // A kept object at `depth`, its members going under node `into`.
    bool object(int depth, std::uint32_t into, Keep keep)
    {
        std::uint64_t seen = 0;
        std::uint32_t last = 0;
        const auto member = [&](std::string_view key, bool escaped) {
            // An escaped key may spell any name, a read one included.
            if (escaped)
                return false;
            if (keep == Keep::All)
                return value(depth, appendMember(into, last, otherKey, key), Keep::Nothing);
            const int id = keyId(key.data(), key.size(), m_end);
            if (id < 0)
                return skip(depth);
            // Which of two equal keys wins is the full parser's business.
            if (seen & (std::uint64_t(1) << id))
                return false;
            seen |= std::uint64_t(1) << id;
            return value(depth, appendMember(into, last, std::uint8_t(id), key),
                         id == wholeObjectKey ? Keep::All : Keep::ReadKeys);
        };
        if (!members(depth, member))
            return false;
        if (keep == Keep::ReadKeys)
            listByKey(into, seen);
        return true;
    }

    std::uint32_t appendMember(std::uint32_t object, std::uint32_t &last, std::uint8_t id, std::string_view key)
    {
        const std::uint32_t member = append(object, last, id);
        m_nodes[member].keyStart = offset(key.data());
        m_nodes[member].keyLength = std::uint32_t(key.size());
        return member;
    }

    // Lists the members of an object of read keys by ascending key id, for Document::member.
    void listByKey(std::uint32_t object, std::uint64_t keys)
    {
        const auto start = std::uint32_t(m_slots.size());
        m_slots.resize(m_slots.size() + Document::bitCount(keys));
        m_nodes[object].keys = keys;
        m_nodes[object].slots = start;
        for (std::uint32_t i = m_nodes[object].first; i != 0; i = m_nodes[i].next) {
            const std::uint64_t below = (std::uint64_t(1) << m_nodes[i].key) - 1;
            m_slots[start + Document::bitCount(keys & below)] = i;
        }
    }

    // A kept array at `depth`, its elements going under node `into`.
    bool array(int depth, std::uint32_t into)
    {
        std::uint32_t last = 0;
        return elements(depth, [&] { return value(depth, append(into, last, otherKey), Keep::ReadKeys); });
    }

    // The string at the cursor; `escaped` is set when it holds escapes. Most strings are
    // plain ASCII and end in their first sixteen bytes, so that case goes first and inline.
    bool string(bool &escaped)
    {
        m_p = plainRunEnd(m_p + 1, m_end);
        if (m_p != m_end && *m_p == '"') [[likely]] {
            ++m_p;
            return true;
        }
        return stringRest(escaped);
    }

    // The rest of a string from a byte that is not plain ASCII.
    bool stringRest(bool &escaped)
    {
        for (;;) {
            if (m_p == m_end)
                return false;
            const uchar c = uchar(*m_p);
            if (c == '"') {
                ++m_p;
                return true;
            }
            if (c == '\\') {
                escaped = true;
                if (!escape())
                    return false;
            } else if (c < 0x20 || !utf8Sequence()) {
                return false;
            }
            m_p = plainRunEnd(m_p, m_end);
        }
    }

    bool escape()
    {
        if (m_end - m_p < 2)
            return false;
        switch (m_p[1]) {
        case '"':
        case '\\':
        case '/':
        case 'b':
        case 'f':
        case 'n':
        case 'r':
        case 't':
            m_p += 2;
            return true;
        case 'u':
            if (m_end - m_p < 6 || !std::all_of(m_p + 2, m_p + 6, isHexDigit))
                return false;
            m_p += 6;
            return true;
        default:
            return false;
        }
    }

    // One multi-byte UTF-8 sequence: no overlong forms, surrogates or code points past U+10FFFF.
    bool utf8Sequence()
    {
        const auto byte = [this](std::ptrdiff_t i) { return uchar(m_p[i]); };
        const uchar lead = byte(0);
        int length = 0;
        uchar low = 0x80, high = 0xBF; // the range of the second byte
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0)
                low = 0xA0;
            else if (lead == 0xED)
                high = 0x9F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0)
                low = 0x90;
            else if (lead == 0xF4)
                high = 0x8F;
        } else {
            return false;
        }
        if (m_end - m_p < length || byte(1) < low || byte(1) > high)
            return false;
        for (int i = 2; i < length; ++i)
            if (byte(i) < 0x80 || byte(i) > 0xBF)
                return false;
        m_p += length;
        return true;
    }

    template<std::size_t N>
    bool literal(const char (&word)[N])
    {
        constexpr std::ptrdiff_t length = N - 1;
        if (m_end - m_p < length || std::memcmp(m_p, word, length) != 0)
            return false;
        m_p += length;
        return true;
    }

    bool number(std::uint32_t into)
    {
        const char *const start = m_p;
        const bool negative = *m_p == '-';
        if (negative)
            ++m_p;
        if (m_p == m_end || !isDigit(*m_p))
            return false;
        const char *const digits = m_p;
        if (*m_p == '0')
            ++m_p;
        else
            m_p = digitRunEnd(m_p, m_end);
        const char *const digitsEnd = m_p;
        bool whole = true;
        if (m_p != m_end && *m_p == '.') {
            whole = false;
            ++m_p;
            if (m_p == m_end || !isDigit(*m_p))
                return false;
            m_p = digitRunEnd(m_p, m_end);
        }
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E'))
            return false;
        if (m_p - start > longestNumber)
            return false;
        if (into == noNode)
            return true;

        Node &node = m_nodes[into];
        node.type = Node::Type::OtherNumber;
        node.textStart = offset(start);
        node.textLength = offset(m_p) - node.textStart;
        // -0 is left to the full parser too, which may keep it as a double.
        if (whole && digitsEnd - digits <= longestExactInteger && !(negative && *digits == '0')) {
            qint64 n = 0;
            for (const char *d = digits; d != digitsEnd; ++d)
                n = n * 10 + (*d - '0');
            node.type = Node::Type::Integer;
            node.integer = negative ? -n : n;
        }
        return true;
    }

    const char *const m_begin;
    const char *m_p;
    const char *const m_end;
    std::vector<Node> &m_nodes;
    std::vector<std::uint32_t> &m_slots;
};

bool isReadKey(QByteArrayView key)
{
    return keyId(std::string_view(key.data(), size_t(key.size()))) >= 0;
}

namespace {

// The arrays of the last document let go on this thread. A page's arrays run to a few
// hundred kilobytes; taking them over spares the allocator a large block on every page.
thread_local std::vector<Node> spareNodes;
thread_local std::vector<std::uint32_t> spareSlots;

} // namespace

Document::~Document()
{
    if (m_nodes.capacity() > spareNodes.capacity()) {
        m_nodes.clear();
        spareNodes = std::move(m_nodes);
    }
    if (m_slots.capacity() > spareSlots.capacity()) {
        m_slots.clear();
        spareSlots = std::move(m_slots);
    }
}

std::optional<Document> Document::scan(QByteArrayView body)
{
    // Offsets are 32-bit; no response body comes near that (the transfer is capped far lower).
    if (body.size() >= std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    Document document;
    document.m_body = body;
    document.m_nodes = std::move(spareNodes);
    document.m_slots = std::move(spareSlots);
    document.m_nodes.clear();
    document.m_slots.clear();
    // About one kept member per hundred bytes in real bodies.
    document.m_nodes.reserve(size_t(body.size() / 64 + 8));
    document.m_slots.reserve(size_t(body.size() / 64 + 8));
    if (!Scanner(body, document.m_nodes, document.m_slots).run())
        return std::nullopt;
    return document;
}



namespace {

void appendUtf8(QByteArray &out, char32_t c)
{
    if (c < 0x80) {
        out += char(c);
    } else if (c < 0x800) {
        out += char(0xC0 | (c >> 6));
        out += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += char(0xE0 | (c >> 12));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    } else {
        out += char(0xF0 | (c >> 18));
        out += char(0x80 | ((c >> 12) & 0x3F));
        out += char(0x80 | ((c >> 6) & 0x3F));
        out += char(0x80 | (c & 0x3F));
    }
}

char32_t hexValue(const char *p)
{
    char32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        const char c = p[i];
        value = value * 16 + char32_t(isDigit(c) ? c - '0' : (c | 0x20) - 'a' + 10);
    }
    return value;
}

// The text of an escaped string, validated by the scan; nothing for a lone surrogate,
// which the full parser may treat its own way.
std::optional<QString> unescape(QByteArrayView raw)
{
    QByteArray out;
    out.reserve(raw.size());
    const char *p = raw.data();
    const char *const end = p + raw.size();
    while (p != end) {
        if (*p != '\\') {
            out += *p++;
            continue;
        }
        const char kind = p[1];
        p += 2;
        switch (kind) {
        case 'b': out += '\b'; break;
        case 'f': out += '\f'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case 'u': {
            char32_t c = hexValue(p);
            p += 4;
            if (c >= 0xDC00 && c <= 0xDFFF)
                return std::nullopt;
            if (c >= 0xD800 && c <= 0xDBFF) {
                if (end - p < 6 || p[0] != '\\' || p[1] != 'u')
                    return std::nullopt;
                const char32_t low = hexValue(p + 2);
                if (low < 0xDC00 || low > 0xDFFF)
                    return std::nullopt;
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                p += 6;
            }
            appendUtf8(out, c);
            break;
        }
        default: out += kind; // the quote, backslash and slash stand for themselves
        }
    }
    return QString::fromUtf8(out);
}

} // namespace






std::optional<QMap<QString, QString>> Reader::optStringMap(Key key)
{
    const Node *node = optionalNode(key, Node::Type::Object);
    if (!node)
        return std::nullopt;
    QMap<QString, QString> out;
    qsizetype members = 0;
    for (std::uint32_t i = node->first; i != 0; i = m_document->node(i).next, ++members) {
        const Node &member = m_document->node(i);
        auto value = member.type == Node::Type::String ? text(member) : std::nullopt;
        if (!value) {
            *m_failed = true;
            return std::nullopt;
        }
        out.insert(QString::fromUtf8(m_document->body().sliced(member.keyStart, member.keyLength)), *value);
    }
    // Equal keys: which one counts is the full parser's business.
    if (out.size() != members) {
        *m_failed = true;
        return std::nullopt;
    }
    return out;
}


QString Document::sharedText(const Node &node) const
{
    const QByteArrayView bytes = m_body.sliced(node.textStart, node.textLength);
    const std::size_t hash = node.textLength * 7 + (bytes.isEmpty() ? 0 : uchar(bytes.front()) + uchar(bytes.back()) * 3);
    SharedText &slot = m_sharedTexts[hash % m_sharedTexts.size()];
    if (slot.text.isNull() || m_body.sliced(slot.start, slot.length) != bytes)
        slot = {node.textStart, node.textLength, QString::fromUtf8(bytes)};
    return slot.text;
}

std::optional<QString> Reader::escapedText(const Node &node)
{
    auto out = unescape(m_document->body().sliced(node.textStart, node.textLength));
    if (!out)
        *m_failed = true;
    return out;
}

} // namespace StripeJsonScan
