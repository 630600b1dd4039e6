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
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(text, &parseError);
    if (parseError.error != QJsonParseError::NoError || !doc.isObject())
        return {std::nullopt, QStringLiteral("sample is not a JSON object: ") + parseError.errorString()};
    JsonReader reader(doc.object());
    T value = T::decode(reader, form);
    if (reader.failed())
        return {std::nullopt, reader.error()};
    return {std::move(value), {}};
}

inline QJsonObject objectOf(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).object();
}
