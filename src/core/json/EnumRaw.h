#pragma once

#include <QString>
#include <array>
#include <optional>
#include <utility>

// Closed sets written as text: a specialisation of EnumRaw lists each value with its raw
// text, and these read and write it.
template<typename E>
struct EnumRaw;

template<typename E>
QString toRaw(E value)
{
    for (const auto &[v, raw] : EnumRaw<E>::values)
        if (v == value)
            return QString::fromLatin1(raw);
    return {};
}

template<typename E>
std::optional<E> fromRaw(QStringView raw)
{
    for (const auto &[v, text] : EnumRaw<E>::values)
        if (raw == QLatin1StringView(text))
            return v;
    return std::nullopt;
}

// Every case in declaration order.
template<typename E>
constexpr auto allCases()
{
    std::array<E, EnumRaw<E>::values.size()> out{};
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = EnumRaw<E>::values[i].first;
    return out;
}
