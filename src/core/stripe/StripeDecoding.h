#pragma once

#include "StripeError.h"
#include "json/JsonReader.h"
#include "util/Result.h"

namespace StripeWire {

// Decodes a whole response body into a wire record. Any failure, from unparsable text to a
// missing required key, is a Decoding error whose text names the key path, or for broken
// JSON says what the parser found.
template<typename T>
Result<T, StripeError> decode(const QByteArray &body)
{
    auto decoded = decodeJsonObject(body, [](JsonReader &reader) { return T::decode(reader); },
                                    JsonParser::readableBytes(body));
    if (!decoded)
        return StripeError::decoding(decoded.error());
    return std::move(decoded).value();
}

} // namespace StripeWire
