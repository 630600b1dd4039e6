#pragma once

// Decoding helpers shared by the Stripe wire records; not part of the client's interface.
// Every decoder is written once over a Reader: JsonReader over a parsed QJsonObject, or
// StripeJsonScan::Reader over a scanned body. A key a decoder starts reading must also go
// into readKeys in StripeJsonScan.h, or the decoder does not compile.

#include "model/JsonReader.h"

#include <QList>
#include <utility>

namespace StripeJson {

// An expandable field arrives as an id string, or as the object (possibly a deleted stub
// with nothing but `id`) when expanded. Either way the id is what is kept.
template<typename Reader>
std::optional<QString> expandableId(Reader &reader, typename Reader::Key key)
{
    switch (reader.kind(key)) {
    case JsonKind::Absent:
    case JsonKind::Null:
        return std::nullopt;
    case JsonKind::String:
        return reader.string(key);
    case JsonKind::Object: {
        using namespace Qt::StringLiterals;
        auto object = reader.optNested(key);
        QString id = object ? object->string("id"_L1) : QString();
        if (reader.failed())
            return std::nullopt;
        return id;
    }
    default:
        reader.failKey(key, "an id or an object");
        return std::nullopt;
    }
}

template<typename Decoder>
using DecodedBy = decltype(Decoder::decode(std::declval<JsonReader &>()));

// A record decoded straight into the place that keeps it: emplacing one of these runs the
// decoder there, where emplacing a decoded record would move all its fields once more.
template<typename Decoder, typename Reader>
struct DecodedInPlace
{
    Reader &reader;
    operator DecodedBy<Decoder>() const { return Decoder::decode(reader); }
};

// The elements of a required array of objects, each decoded by Decoder::decode.
template<typename Decoder, typename T = DecodedBy<Decoder>, typename Reader>
QList<T> arrayOf(Reader &reader, typename Reader::Key key)
{
    QList<T> out;
    reader.forEachObject(
        key, [&out](Reader &element) { out.emplaceBack(DecodedInPlace<Decoder, Reader>{element}); },
        [&out](qsizetype count) { out.reserve(count); });
    return out;
}

// Decodes the optional nested object `key` into `out`, or leaves `out` empty.
template<typename Decoder, typename T = DecodedBy<Decoder>, typename Reader>
void readOptObject(Reader &reader, typename Reader::Key key, std::optional<T> &out)
{
    auto nested = reader.optNested(key);
    if (!nested)
        return;
    out.emplace(DecodedInPlace<Decoder, Reader>{*nested});
    if (reader.failed())
        out.reset();
}

// An optional nested object decoded by Decoder::decode.
template<typename Decoder, typename T = DecodedBy<Decoder>, typename Reader>
std::optional<T> optObjectOf(Reader &reader, typename Reader::Key key)
{
    std::optional<T> out;
    readOptObject<Decoder, T>(reader, key, out);
    return out;
}

} // namespace StripeJson
