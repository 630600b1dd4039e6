#pragma once

#include <QtGlobal>
#include <initializer_list>

// A small, fully specified pseudo-random source (splitmix64). The standard engines are
// portable but the standard distributions are not: the same seed draws other numbers under
// another standard library. Every draw here is therefore made from raw 64-bit integers, so a
// demo account tells the same story on every machine.
namespace DemoRandom {

inline constexpr quint64 golden = 0x9E3779B97F4A7C15ull;

constexpr quint64 mix(quint64 x)
{
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

// One key from several parts; the order of the parts matters.
constexpr quint64 key(std::initializer_list<quint64> parts)
{
    quint64 h = 0x6A09E667F3BCC909ull;
    for (quint64 part : parts)
        h = mix(h + golden + part);
    return h;
}

class Stream
{
public:
    constexpr explicit Stream(quint64 key) : m_state(key) {}

    constexpr quint64 next()
    {
        m_state += golden;
        return mix(m_state);
    }
    // 0 <= result < bound, for bound > 0. The modulo bias is far below anything a demo shows.
    constexpr qint64 below(qint64 bound) { return qint64(next() % quint64(bound)); }
    // low <= result <= high.
    constexpr qint64 between(qint64 low, qint64 high) { return low + below(high - low + 1); }
    constexpr bool chance(int perMille) { return below(1000) < perMille; }
    // An index drawn with the given relative weights.
    constexpr int weighted(std::initializer_list<int> weights)
    {
        int total = 0;
        for (int w : weights)
            total += w;
        qint64 draw = below(total);
        int index = 0;
        for (int w : weights) {
            if (draw < w)
                return index;
            draw -= w;
            ++index;
        }
        return index - 1;
    }

private:
    quint64 m_state;
};

} // namespace DemoRandom
