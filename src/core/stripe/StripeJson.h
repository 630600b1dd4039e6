#pragma once

// Decoding helpers shared by the Stripe wire records; not part of the client's interface.
// Decoders read Stripe's keys in the order Stripe writes them ("id" first, then the rest
// alphabetically), which lets the forward-reading JsonReader find each in one pass.

#include "json/JsonReader.h"

#include <QList>

namespace StripeJson {

// An expandable field arrives as an id string, or as the object (possibly a deleted stub
// with nothing but `id`) when expanded. Either way the id is what is kept.
inline std::optional<QString> expandableId(JsonReader &reader, JsonReader::Key key)
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

// The elements of a required array of objects, each decoded by Decoder::decode.
template<typename Decoder, typename T = DecodedBy<Decoder>>
QList<T> arrayOf(JsonReader &reader, JsonReader::Key key)
{
    QList<T> out;
    out.reserve(reader.arraySize(key));
    reader.forEachObject(key, [&out](JsonReader &element) { out.append(Decoder::decode(element)); });
    return out;
}

// An optional nested object decoded by Decoder::decode.
template<typename Decoder, typename T = DecodedBy<Decoder>>
std::optional<T> optObjectOf(JsonReader &reader, JsonReader::Key key)
{
    auto nested = reader.optNested(key);
    if (!nested)
        return std::nullopt;
    T value = Decoder::decode(*nested);
    if (reader.failed())
        return std::nullopt;
    return value;
}

} // namespace StripeJson
