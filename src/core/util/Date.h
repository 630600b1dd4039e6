#pragma once

#include <QDateTime>
#include <QString>
#include <compare>
#include <optional>

// An absolute instant, held as seconds since 2001-01-01 00:00:00 UTC (the reference date
// of the stored files). Sub-second precision is kept in memory; the ISO form drops it.
class Date
{
public:
    static constexpr double unixOffset = 978307200.0; // 1970 → 2001 in seconds

    constexpr Date() = default;
    static constexpr Date fromReferenceSeconds(double seconds) { return Date(seconds); }
    static constexpr Date fromUnix(double unixSeconds) { return Date(unixSeconds - unixOffset); }
    static Date fromDateTime(const QDateTime &dateTime);

    constexpr double referenceSeconds() const { return m_seconds; }
    constexpr double unixSeconds() const { return m_seconds + unixOffset; }
    // Truncated toward zero, as provider query parameters want them.
    qint64 unixSecondsTruncated() const { return static_cast<qint64>(unixSeconds()); }
    QDateTime toDateTime() const; // UTC, millisecond precision

    // Internet date-time in UTC with whole seconds: 2026-03-10T12:00:00Z.
    QString toIsoString() const;
    // Accepts the internet date-time form with a Z or numeric offset, with or without a fraction.
    static std::optional<Date> fromIsoString(QStringView text);

    constexpr Date addingSeconds(double seconds) const { return Date(m_seconds + seconds); }
    constexpr double secondsSince(Date other) const { return m_seconds - other.m_seconds; }

    friend constexpr bool operator==(Date, Date) = default;
    friend constexpr auto operator<=>(Date a, Date b) { return a.m_seconds <=> b.m_seconds; }

private:
    constexpr explicit Date(double seconds) : m_seconds(seconds) {}
    double m_seconds = 0;
};
