#pragma once

#include "StripeError.h"
#include "StripeJsonScan.h"
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
    // Most bodies are read straight from their bytes, several times faster than through
    // QJsonDocument. Whatever that way does not take, or fails to decode, goes the ordinary
    // way below, which gives the verdict and the error text.
    if (const auto document = StripeJsonScan::Document::scan(body)) {
        bool failed = false;
        StripeJsonScan::Reader reader(*document, failed);
        T value = T::decode(reader);
        if (!failed)
            return value;
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
