#include "Date.h"

#include <QRegularExpression>
#include <QTimeZone>
#include <cmath>
#include <cstdio>

Date Date::fromDateTime(const QDateTime &dateTime)
{
    return fromUnix(static_cast<double>(dateTime.toMSecsSinceEpoch()) / 1000.0);
}

QDateTime Date::toDateTime() const
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(unixSeconds() * 1000.0)), QTimeZone::utc());
}

QString Date::toIsoString() const
{
    // Written by hand: the feed file holds one of these per event.
    const auto whole = static_cast<qint64>(std::floor(unixSeconds()));
    qint64 days = whole / 86400;
    qint64 secondsOfDay = whole % 86400;
    if (secondsOfDay < 0) {
        secondsOfDay += 86400;
        --days;
    }
    const QDate date = QDate(1970, 1, 1).addDays(days);
    char buffer[32];
    const int length = std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02dZ", date.year(), date.month(),
                                     date.day(), int(secondsOfDay / 3600), int(secondsOfDay / 60 % 60),
                                     int(secondsOfDay % 60));
    return QString::fromLatin1(buffer, length);
}

std::optional<Date> Date::fromIsoString(QStringView text)
{
    // Strict internet date-time: a date, "T", a time with an optional fraction, and a zone.
    // Written by hand because it sits on the hot path of loading the feed file.
    const auto digits = [&](qsizetype at, qsizetype count, int &out) {
        if (at + count > text.size())
            return false;
        int v = 0;
        for (qsizetype i = at; i < at + count; ++i) {
            const QChar c = text[i];
            if (c < u'0' || c > u'9')
                return false;
            v = v * 10 + (c.unicode() - u'0');
        }
        out = v;
        return true;
    };
    int year, month, day, hour, minute, second;
    if (text.size() < 20 || !digits(0, 4, year) || text[4] != u'-' || !digits(5, 2, month) || text[7] != u'-'
        || !digits(8, 2, day) || (text[10] != u'T' && text[10] != u't') || !digits(11, 2, hour) || text[13] != u':'
        || !digits(14, 2, minute) || text[16] != u':' || !digits(17, 2, second))
        return std::nullopt;
    qsizetype pos = 19;
    double fraction = 0;
    if (pos < text.size() && text[pos] == u'.') {
        ++pos;
        double scale = 0.1;
        const qsizetype start = pos;
        while (pos < text.size() && text[pos] >= u'0' && text[pos] <= u'9') {
            fraction += scale * (text[pos].unicode() - u'0');
            scale /= 10;
            ++pos;
        }
        if (pos == start)
            return std::nullopt;
    }
    int offsetSeconds = 0;
    if (pos >= text.size())
        return std::nullopt;
    if (text[pos] == u'Z' || text[pos] == u'z') {
        ++pos;
    } else if (text[pos] == u'+' || text[pos] == u'-') {
        const int sign = text[pos] == u'+' ? 1 : -1;
        int oh, om;
        if (!digits(pos + 1, 2, oh))
            return std::nullopt;
        qsizetype minutesAt = pos + 3;
        if (minutesAt < text.size() && text[minutesAt] == u':')
            ++minutesAt;
        if (!digits(minutesAt, 2, om) || oh > 23 || om > 59)
            return std::nullopt;
        offsetSeconds = sign * (oh * 3600 + om * 60);
        pos = minutesAt + 2;
    } else {
        return std::nullopt;
    }
    if (pos != text.size())
        return std::nullopt;
    const QDate date(year, month, day);
    if (!date.isValid() || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    const qint64 days = date.toJulianDay() - QDate(1970, 1, 1).toJulianDay();
    const double unix = static_cast<double>(days * 86400 + hour * 3600 + minute * 60 + second - offsetSeconds) + fraction;
    return fromUnix(unix);
}
