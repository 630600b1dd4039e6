#pragma once

#include "model/JsonReader.h"

#include <QByteArrayView>
#include <QMap>
#include <QString>
#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// The fast way from a Stripe response body to its records. One scan over the raw bytes
// validates the whole body and keeps, as a small tree of views into it, only the members
// whose key some record reads; a Reader with JsonReader's interface serves the record
// decoders from that tree. No QJsonDocument is built and nothing is copied but the strings
// that end up in a record. Real objects are mostly line items, addresses and settings
// nobody here looks at, so the tree holds a small part of a body.
//
// The scan is deliberately narrow. Whatever it is not sure to read exactly as QJsonDocument
// would (escaped keys, duplicate keys, fractions or integers past 64 bits where a record
// reads them, lone surrogates, hostile nesting, and any syntax error) makes it give up, and
// the caller decodes the body the ordinary way; failures of every kind are also reported by
// that way, so error texts never depend on the scan.
namespace StripeJsonScan {

// Nesting the scan follows; a deeper body is left to the full parser.
inline constexpr int maxDepth = 512;

namespace detail {
using namespace std::string_view_literals;
// Every key a decoder in this folder reads, in whichever object it reads it: the scan does
// not know where it is, so a key read anywhere is kept everywhere. Sorted.
inline constexpr auto readKeys = std::to_array<std::string_view>({
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

// Keys whose values recur from record to record: a handful of currencies, statuses, event
// types and plan descriptions per page.
inline constexpr auto recurringValueKeys = std::to_array<std::string_view>({
    "billing_reason"sv, "currency"sv, "description"sv, "interval"sv, "nickname"sv, "reason"sv, "status"sv, "type"sv,
});
} // namespace detail

// Whether some record reads a member named `key`.
bool isReadKey(QByteArrayView key);

// A read key, resolved when the decoders are compiled: a decoder that reads a key missing
// from readKeys does not compile, instead of reading it as absent.
class Key
{
public:
    consteval Key(QLatin1StringView key)
        : m_id(indexOf(std::string_view(key.data(), size_t(key.size()))))
        , m_recurring(std::ranges::find(detail::recurringValueKeys, std::string_view(key.data(), size_t(key.size())))
                      != detail::recurringValueKeys.end())
    {
    }
    constexpr std::uint8_t id() const { return m_id; }
    constexpr bool recurring() const { return m_recurring; }

private:
    static consteval std::uint8_t indexOf(std::string_view key)
    {
        const auto found = std::ranges::find(detail::readKeys, key);
        if (found == detail::readKeys.end())
            throw "not a read key: add it to readKeys";
        return std::uint8_t(found - detail::readKeys.begin());
    }
    std::uint8_t m_id;
    bool m_recurring;
};

struct Node
{
    enum class Type : std::uint8_t { Null, Boolean, Integer, OtherNumber, String, Object, Array };

    Type type = Type::Null;
    bool flag = false;          // Boolean: its value; String: holds escapes
    std::uint8_t key = 0;       // the member's read-key id, or otherKey
    std::uint32_t next = 0;     // the next member or element of the same container; 0 ends
    std::uint32_t keyStart = 0; // members: the key's bytes in the body, quotes excluded
    std::uint32_t keyLength = 0;
    std::uint32_t first = 0;    // Object, Array: the first child; 0 if none
    std::uint32_t count = 0;    // Object, Array: the number of children
    std::uint32_t textStart = 0; // String: its bytes between the quotes; numbers: their text
    std::uint32_t textLength = 0;
    std::uint32_t slots = 0;    // objects of read keys: where their members are listed by key
    qint64 integer = 0;
    std::uint64_t keys = 0; // objects of read keys: one bit per read key present
};

// Members of objects whose every member is kept (metadata) and array elements.
inline constexpr std::uint8_t otherKey = 0xFF;

// The kept members of a body. Node 0 is the top-level object.
class Document
{
public:
    // Nothing unless `body` is a JSON object the scan can vouch for. The body must outlive
    // the document.
    static std::optional<Document> scan(QByteArrayView body);

    Document(Document &&) noexcept = default;
    Document &operator=(Document &&) noexcept = default;
    ~Document();

    const Node &node(std::uint32_t index) const { return m_nodes[index]; }
    QByteArrayView body() const { return m_body; }

    // The text of an unescaped string node whose value recurs across records: made once for
    // the same bytes and shared, instead of allocated and converted for every record.
    QString sharedText(const Node &node) const;

    // The member `key` of an object of read keys, or nothing.
    const Node *member(const Node &object, std::uint8_t key) const
    {
        const std::uint64_t bit = std::uint64_t(1) << key;
        if (!(object.keys & bit))
            return nullptr;
        return &m_nodes[m_slots[object.slots + bitCount(object.keys & (bit - 1))]];
    }

    // std::popcount is a library call on x86-64 without the POPCNT extension.
    static constexpr std::uint32_t bitCount(std::uint64_t x)
    {
        x = x - ((x >> 1) & 0x5555555555555555u);
        x = (x & 0x3333333333333333u) + ((x >> 2) & 0x3333333333333333u);
        x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
        return std::uint32_t((x * 0x0101010101010101u) >> 56);
    }

private:
    friend class Scanner;
    Document() = default;

    QByteArrayView m_body;
    std::vector<Node> m_nodes;
    // The members of each object of read keys by ascending key id, so a lookup is a bit
    // count instead of a walk through the members.
    std::vector<std::uint32_t> m_slots;

    struct SharedText
    {
        std::uint32_t start = 0;
        std::uint32_t length = 0;
        QString text;
    };
    mutable std::array<SharedText, 32> m_sharedTexts;
};

// JsonReader's reading interface over one object of a Document. Any failure only marks the
// read as failed: the caller then decodes the body the ordinary way, which says what failed.
class Reader
{
public:
    Reader(const Document &document, bool &failed, std::uint32_t object = 0)
        : m_document(&document), m_failed(&failed), m_object(object)
    {
    }

    using Key = StripeJsonScan::Key;

    bool failed() const { return *m_failed; }
    void failKey(Key, const char *) { *m_failed = true; }

    JsonKind kind(Key key) const;

    QString string(Key key);
    std::optional<QString> optString(Key key);
    qint64 integer(Key key);
    std::optional<qint64> optInteger(Key key);
    bool boolean(Key key);
    std::optional<bool> optBoolean(Key key);
    std::optional<QMap<QString, QString>> optStringMap(Key key);
    std::optional<Reader> optNested(Key key);

    // Calls `f` with a reader for each element of the required array of objects `key`, after
    // `reserve` with their number.
    template<typename F, typename Reserve>
    void forEachObject(Key key, F &&f, Reserve &&reserve)
    {
        const Node *array = requiredNode(key, Node::Type::Array);
        if (!array)
            return;
        reserve(qsizetype(array->count));
        for (std::uint32_t i = array->first; i != 0 && !*m_failed; i = m_document->node(i).next) {
            if (m_document->node(i).type != Node::Type::Object) {
                *m_failed = true;
                return;
            }
            Reader element(*m_document, *m_failed, i);
            f(element);
        }
    }

private:
    const Node *find(Key key) const;
    // The member `key` if it is of `type`; otherwise the read fails.
    const Node *requiredNode(Key key, Node::Type type);
    // The member `key` if it is of `type`; nothing if it is absent or null, and otherwise
    // the read fails.
    const Node *optionalNode(Key key, Node::Type type);
    std::optional<QString> text(const Node &node, bool recurring = false);
    std::optional<QString> escapedText(const Node &node);

    const Document *m_document;
    bool *m_failed;
    std::uint32_t m_object;
};

// The reads every decoder makes many times per record are inline.
inline const Node *Reader::find(Key key) const
{
    return m_document->member(m_document->node(m_object), key.id());
}

inline JsonKind Reader::kind(Key key) const
{
    const Node *node = find(key);
    if (!node)
        return JsonKind::Absent;
    switch (node->type) {
    case Node::Type::Null: return JsonKind::Null;
    case Node::Type::Boolean: return JsonKind::Boolean;
    case Node::Type::Integer:
    case Node::Type::OtherNumber: return JsonKind::Number;
    case Node::Type::String: return JsonKind::String;
    case Node::Type::Object: return JsonKind::Object;
    case Node::Type::Array: return JsonKind::Array;
    }
    return JsonKind::Absent;
}

inline const Node *Reader::requiredNode(Key key, Node::Type type)
{
    const Node *node = find(key);
    if (!node || node->type != type) {
        *m_failed = true;
        return nullptr;
    }
    return node;
}

inline const Node *Reader::optionalNode(Key key, Node::Type type)
{
    const Node *node = find(key);
    if (!node || node->type == Node::Type::Null)
        return nullptr;
    if (node->type != type) {
        *m_failed = true;
        return nullptr;
    }
    return node;
}

inline QString Reader::string(Key key)
{
    const Node *node = requiredNode(key, Node::Type::String);
    return node ? text(*node, key.recurring()).value_or(QString()) : QString();
}

inline std::optional<QString> Reader::optString(Key key)
{
    const Node *node = optionalNode(key, Node::Type::String);
    return node ? text(*node, key.recurring()) : std::nullopt;
}

inline qint64 Reader::integer(Key key)
{
    const Node *node = requiredNode(key, Node::Type::Integer);
    return node ? node->integer : 0;
}

inline std::optional<qint64> Reader::optInteger(Key key)
{
    const Node *node = optionalNode(key, Node::Type::Integer);
    return node ? std::optional(node->integer) : std::nullopt;
}

inline bool Reader::boolean(Key key)
{
    const Node *node = requiredNode(key, Node::Type::Boolean);
    return node && node->flag;
}

inline std::optional<bool> Reader::optBoolean(Key key)
{
    const Node *node = optionalNode(key, Node::Type::Boolean);
    return node ? std::optional(node->flag) : std::nullopt;
}

inline std::optional<Reader> Reader::optNested(Key key)
{
    const Node *node = optionalNode(key, Node::Type::Object);
    if (!node)
        return std::nullopt;
    return Reader(*m_document, *m_failed, std::uint32_t(node - &m_document->node(0)));
}

inline std::optional<QString> Reader::text(const Node &node, bool recurring)
{
    if (node.flag)
        return escapedText(node);
    if (recurring)
        return m_document->sharedText(node);
    return QString::fromUtf8(m_document->body().sliced(node.textStart, node.textLength));
}

} // namespace StripeJsonScan
