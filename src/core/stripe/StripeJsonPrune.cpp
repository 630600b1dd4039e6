#include "StripeJsonPrune.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace StripeJsonPrune {

namespace {

using namespace std::string_view_literals;

// Every key a decoder in this folder reads, in whichever object it reads it: the pass does
// not know where it is, so a key read anywhere is kept everywhere. Sorted.
constexpr auto readKeys = std::to_array<std::string_view>({
    "advice_code"sv, "amount"sv, "amount_due"sv, "amount_paid"sv, "amount_refunded"sv, "billing_details"sv,
    "billing_reason"sv, "business_profile"sv, "canceled_at"sv, "cancellation_details"sv, "charge"sv, "code"sv,
    "created"sv, "currency"sv, "current_period_end"sv, "customer"sv, "customer_email"sv, "customer_name"sv,
    "dashboard"sv, "data"sv, "decline_code"sv, "description"sv, "display_name"sv, "email"sv, "ended_at"sv,
    "error"sv, "has_more"sv, "id"sv, "interval"sv, "interval_count"sv, "invoice"sv, "items"sv,
    "latest_invoice"sv, "lines"sv, "message"sv, "metadata"sv, "name"sv, "next_payment_attempt"sv,
    "nickname"sv, "object"sv, "paid"sv, "parent"sv, "payment"sv, "payment_intent"sv, "payments"sv, "price"sv,
    "reason"sv, "recurring"sv, "settings"sv, "status"sv, "subscription"sv, "subscription_details"sv,
    "support_url"sv, "type"sv, "unit_amount"sv, "url"sv,
});
static_assert(std::ranges::is_sorted(readKeys));

// An open-addressed table of indexes into readKeys: the lookup runs for every key of a
// body, and a probe or two beats a binary search of string compares.
constexpr std::size_t keyTableSize = 256;

constexpr std::size_t keyHash(std::string_view key)
{
    return (key.size() * 131 + uchar(key.front()) * 31 + uchar(key[key.size() / 2]) * 7 + uchar(key.back()))
        % keyTableSize;
}

constexpr auto keyTable = [] {
    std::array<int, keyTableSize> table{};
    table.fill(-1);
    for (std::size_t i = 0; i < readKeys.size(); ++i) {
        std::size_t slot = keyHash(readKeys[i]);
        while (table[slot] >= 0)
            slot = (slot + 1) % keyTableSize;
        table[slot] = int(i);
    }
    return table;
}();

constexpr std::size_t longestKey = std::ranges::max(readKeys, {}, &std::string_view::size).size();

// Keys whose values are read whole, so nothing inside may be dropped.
constexpr std::string_view wholeValueKey = "metadata"sv;

// Numbers longer than this, or with an exponent, are left to the full parser, which decides
// their range; Stripe sends neither.
constexpr std::ptrdiff_t longestNumber = 64;

// String bytes needing no further look: printable ASCII other than the quote and backslash.
constexpr auto plainStringBytes = [] {
    std::array<bool, 256> table{};
    for (int c = 0x20; c < 0x80; ++c)
        table[c] = c != '"' && c != '\\';
    return table;
}();

// Whether any of eight string bytes needs a closer look: a quote, backslash, control byte or
// non-ASCII byte. Long ids and URLs are most of a body, so strings are skipped a word at a time.
bool wordNeedsLook(std::uint64_t word)
{
    constexpr std::uint64_t ones = 0x0101010101010101u;
    constexpr std::uint64_t highs = 0x8080808080808080u;
    const auto hasZeroByte = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
    const std::uint64_t below0x20 = (word - ones * 0x20) & ~word & highs;
    return (hasZeroByte(word ^ (ones * '"')) | hasZeroByte(word ^ (ones * '\\')) | below0x20 | (word & highs)) != 0;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

class Pruner
{
public:
    Pruner(QByteArrayView body, char *out) : m_p(body.data()), m_end(body.data() + body.size()), m_out(out) {}

    // The length written, or -1.
    qsizetype run()
    {
        char *const start = m_out;
        skipSpace();
        if (m_p == m_end || *m_p != '{' || !object(1, true))
            return -1;
        skipSpace();
        return m_p == m_end ? m_out - start : -1;
    }

private:
    void skipSpace()
    {
        while (m_p != m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    void write(const char *from, const char *to)
    {
        std::memcpy(m_out, from, size_t(to - from));
        m_out += to - from;
    }

    // A value at any depth below `depth`; written out (pruned) when `emit`.
    bool value(int depth, bool emit)
    {
        skipSpace();
        if (m_p == m_end)
            return false;
        const char *const start = m_p;
        bool ok = false;
        switch (*m_p) {
        case '{':
            return object(depth + 1, emit);
        case '[':
            return array(depth + 1, emit);
        case '"': {
            bool escaped = false;
            ok = string(escaped);
            break;
        }
        case 't':
            ok = literal("true"sv);
            break;
        case 'f':
            ok = literal("false"sv);
            break;
        case 'n':
            ok = literal("null"sv);
            break;
        default:
            ok = number();
        }
        if (ok && emit)
            write(start, m_p);
        return ok;
    }

    bool object(int depth, bool emit)
    {
        if (depth > maxDepth)
            return false;
        ++m_p;
        if (emit)
            *m_out++ = '{';
        skipSpace();
        if (m_p != m_end && *m_p == '}') {
            ++m_p;
            if (emit)
                *m_out++ = '}';
            return true;
        }
        bool first = true;
        for (;;) {
            skipSpace();
            if (m_p == m_end || *m_p != '"')
                return false;
            const char *const keyStart = m_p;
            bool escaped = false;
            if (!string(escaped))
                return false;
            const char *const keyEnd = m_p;
            skipSpace();
            if (m_p == m_end || *m_p != ':')
                return false;
            ++m_p;

            // An escaped key may spell any name, so its member is kept whole, like metadata.
            const std::string_view key(keyStart + 1, size_t(keyEnd - keyStart - 2));
            const bool keep = emit && (escaped || isReadKey(QByteArrayView(key.data(), key.size())));
            if (keep) {
                if (!first)
                    *m_out++ = ',';
                first = false;
                write(keyStart, keyEnd);
                *m_out++ = ':';
            }
            if (keep && (escaped || key == wholeValueKey)) {
                skipSpace();
                const char *const valueStart = m_p;
                if (!value(depth, false))
                    return false;
                write(valueStart, m_p);
            } else if (!value(depth, keep)) {
                return false;
            }

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
            if (emit)
                *m_out++ = '}';
            return true;
        }
    }

    bool array(int depth, bool emit)
    {
        if (depth > maxDepth)
            return false;
        ++m_p;
        if (emit)
            *m_out++ = '[';
        skipSpace();
        if (m_p != m_end && *m_p == ']') {
            ++m_p;
            if (emit)
                *m_out++ = ']';
            return true;
        }
        for (;;) {
            if (!value(depth, emit))
                return false;
            skipSpace();
            if (m_p == m_end)
                return false;
            if (*m_p == ']') {
                ++m_p;
                if (emit)
                    *m_out++ = ']';
                return true;
            }
            if (*m_p != ',')
                return false;
            ++m_p;
            if (emit)
                *m_out++ = ',';
        }
    }

    bool string(bool &escaped)
    {
        ++m_p;
        for (;;) {
            for (std::uint64_t word; m_end - m_p >= 8; m_p += 8) {
                std::memcpy(&word, m_p, 8);
                if (wordNeedsLook(word))
                    break;
            }
            while (m_p != m_end && plainStringBytes[uchar(*m_p)])
                ++m_p;
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

    bool literal(std::string_view word)
    {
        if (m_end - m_p < std::ptrdiff_t(word.size()) || std::memcmp(m_p, word.data(), word.size()) != 0)
            return false;
        m_p += word.size();
        return true;
    }

    bool number()
    {
        const char *const start = m_p;
        if (*m_p == '-')
            ++m_p;
        if (m_p == m_end || !isDigit(*m_p))
            return false;
        if (*m_p == '0')
            ++m_p;
        else
            while (m_p != m_end && isDigit(*m_p))
                ++m_p;
        if (m_p != m_end && *m_p == '.') {
            ++m_p;
            if (m_p == m_end || !isDigit(*m_p))
                return false;
            while (m_p != m_end && isDigit(*m_p))
                ++m_p;
        }
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E'))
            return false;
        return m_p - start <= longestNumber;
    }

    const char *m_p;
    const char *const m_end;
    char *m_out;
};

} // namespace

bool isReadKey(QByteArrayView bytes)
{
    const std::string_view key(bytes.data(), size_t(bytes.size()));
    if (key.empty() || key.size() > longestKey)
        return false;
    for (std::size_t slot = keyHash(key); keyTable[slot] >= 0; slot = (slot + 1) % keyTableSize)
        if (readKeys[keyTable[slot]] == key)
            return true;
    return false;
}

std::optional<QByteArray> prune(QByteArrayView body)
{
    // The output never outgrows the input: it is a subset of its tokens and separators.
    QByteArray out(body.size(), Qt::Uninitialized);
    const qsizetype length = Pruner(body, out.data()).run();
    if (length < 0)
        return std::nullopt;
    out.truncate(length);
    return out;
}

} // namespace StripeJsonPrune
