#pragma once

// Decoding helpers shared by the Stripe wire records; not part of the client's interface.
// A key a decoder starts reading must also go into readKeys in StripeJsonPrune.cpp, or the
// pass that runs before parsing drops it.

#include "model/JsonReader.h"

#include <QList>
#include <utility>

namespace StripeJson {

// An expandable field arrives as an id string, or as the object (possibly a deleted stub
// with nothing but `id`) when expanded. Either way the id is what is kept.
std::optional<QString> expandableId(JsonReader &reader, QLatin1StringView key);

template<typename Decoder>
using DecodedBy = decltype(Decoder::decode(std::declval<JsonReader &>()));

// The elements of a required array of objects, each decoded by Decoder::decode with its
// index in the key path.
template<typename Decoder, typename T = DecodedBy<Decoder>>
QList<T> arrayOf(JsonReader &reader, QLatin1StringView key)
{
    QList<T> out;
    const QJsonArray array = reader.array(key);
    if (reader.failed())
        return out;
    out.reserve(array.size());
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonValue value = array.at(i);
        if (!value.isObject()) {
            reader.fail(reader.pathOf(key) + u'[' + QString::number(i) + QStringLiteral("]: expected an object"));
            return out;
        }
        JsonReader element = reader.element(value.toObject(), key, i);
        out.append(Decoder::decode(element));
        if (reader.failed())
            return out;
    }
    return out;
}

// An optional nested object decoded by Decoder::decode.
template<typename Decoder, typename T = DecodedBy<Decoder>>
std::optional<T> optObjectOf(JsonReader &reader, QLatin1StringView key)
{
    const auto object = reader.optObject(key);
    if (!object)
        return std::nullopt;
    JsonReader nested = reader.nested(*object, key);
    T value = Decoder::decode(nested);
    if (reader.failed())
        return std::nullopt;
    return value;
}

} // namespace StripeJson
