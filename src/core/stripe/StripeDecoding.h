#pragma once

#include "StripeError.h"
#include "StripeJsonPrune.h"
#include "model/JsonReader.h"
#include "util/Result.h"

#include <QJsonDocument>
#include <QJsonParseError>

namespace StripeWire {

// Decodes an already parsed object into a wire record.
template<typename T>
Result<T, StripeError> decodeObject(const QJsonObject &object)
{
    JsonReader reader(object);
    T value = T::decode(reader);
    if (reader.failed())
        return StripeError::decoding(reader.error());
    return value;
}

// Decodes a whole response body into a wire record. Any failure, from unparsable text to a
// missing required key, is a Decoding error whose text names the offset or the key path.
template<typename T>
Result<T, StripeError> decode(const QByteArray &body)
{
    // Parsing only what the records read is several times faster. The pruned body keeps
    // every member a record looks at, so records and key-path errors come out the same; a
    // body the pass cannot vouch for goes to the full parse below for its verdict.
    if (const auto pruned = StripeJsonPrune::prune(body)) {
        const QJsonDocument document = QJsonDocument::fromJson(*pruned);
        if (document.isObject())
            return decodeObject<T>(document.object());
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return StripeError::decoding(parseError.errorString() + QStringLiteral(" at offset ")
                                     + QString::number(parseError.offset));
    if (!document.isObject())
        return StripeError::decoding(QStringLiteral("expected a JSON object at the top level"));
    return decodeObject<T>(document.object());
}

} // namespace StripeWire
