#pragma once

#include "util/Date.h"

#include <QLocale>
#include <QTimeZone>

// The user's calendar: Gregorian days in a time zone, weeks starting on a given weekday.
// Every day boundary of the engine goes through here, so tests pin the zone and week rule.
class TimeContext
{
public:
    TimeContext(); // the system's zone and the locale's first weekday
    TimeContext(QTimeZone zone, Qt::DayOfWeek firstDayOfWeek);
    // Weeks start on the locale's first weekday (Sunday in the US, Monday in Germany).
    static TimeContext forLocale(QTimeZone zone, const QLocale &locale);

    const QTimeZone &zone() const { return m_zone; }
    Qt::DayOfWeek firstDayOfWeek() const { return m_firstDayOfWeek; }

    QDateTime local(Date date) const;
    Date fromLocal(const QDateTime &local) const;

    // Local midnight of the day that contains `date` (the first moment of that day on
    // days where midnight does not exist).
    Date startOfDay(Date date) const;
    // The same wall-clock time `days` calendar days later (negative: earlier).
    Date addingDays(Date date, int days) const;
    Date startOfMonth(Date date) const;
    Date startOfWeek(Date date) const;
    // 23:59:59 local on the day of `date`.
    Date endOfDay(Date date) const;
    bool isSameDay(Date a, Date b) const;

private:
    QTimeZone m_zone;
    Qt::DayOfWeek m_firstDayOfWeek;
};
