#pragma once

#include "model/JsonReader.h"

#include <QJsonDocument>
#include <QJsonObject>

// Decodes one JSON object text as T with the given date form; the error text when it fails.
template<typename T>
struct Decoded
{
    std::optional<T> value;
    QString error;
};

template<typename T>
Decoded<T> decodeText(const QByteArray &text, DateForm form)
{
    auto decoded = decodeJsonObject(text, [form](JsonReader &reader) { return T::decode(reader, form); });
    if (!decoded)
        return {std::nullopt, decoded.error()};
    return {std::move(decoded).value(), {}};
}

inline QJsonObject objectOf(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}
