#pragma once

#include <QList>
#include <QStringView>
#include <compare>

// A version number as the update checker compares it: only the dotted numbers count; a
// leading "v", a pre-release or build suffix and anything that is not a number fall away.
struct SemVer
{
    QList<qint64> components;

    // "v1.4.2" → 1,4,2; "2.0-beta.3" → 2,0; "1.x.3" → 1,0,3; "" → nothing.
    static SemVer parse(QStringView text);

    // Component by component, a missing component counting as 0: 1.2 equals 1.2.0.
    friend std::strong_ordering operator<=>(const SemVer &a, const SemVer &b);
    friend bool operator==(const SemVer &a, const SemVer &b) { return (a <=> b) == 0; }
};
