#include "TimeContext.h"

#include <QLocale>

TimeContext::TimeContext()
    : TimeContext(forLocale(QTimeZone::systemTimeZone(), QLocale::system()))
{
}

TimeContext TimeContext::forLocale(QTimeZone zone, const QLocale &locale)
{
    return TimeContext(std::move(zone), locale.firstDayOfWeek());
}

TimeContext::TimeContext(QTimeZone zone, Qt::DayOfWeek firstDayOfWeek)
    : m_zone(std::move(zone))
    , m_firstDayOfWeek(firstDayOfWeek)
{
}

QDateTime TimeContext::local(Date date) const
{
    return date.toDateTime().toTimeZone(m_zone);
}

Date TimeContext::fromLocal(const QDateTime &local) const
{
    return Date::fromDateTime(local);
}

static Date startOfLocalDay(const QDate &day, const QTimeZone &zone)
{
    return Date::fromDateTime(day.startOfDay(zone));
}

Date TimeContext::startOfDay(Date date) const
{
    return startOfLocalDay(local(date).date(), m_zone);
}

Date TimeContext::addingDays(Date date, int days) const
{
    const QDateTime l = local(date);
    // QDateTime::addDays keeps the wall-clock time and resolves DST gaps forward.
    const double subMillisecond = date.secondsSince(Date::fromDateTime(l));
    return Date::fromDateTime(l.addDays(days)).addingSeconds(subMillisecond);
}

Date TimeContext::startOfMonth(Date date) const
{
    const QDate d = local(date).date();
    return startOfLocalDay(QDate(d.year(), d.month(), 1), m_zone);
}

Date TimeContext::startOfWeek(Date date) const
{
    const QDate d = local(date).date();
    const int back = (d.dayOfWeek() - static_cast<int>(m_firstDayOfWeek) + 7) % 7;
    return startOfLocalDay(d.addDays(-back), m_zone);
}

Date TimeContext::endOfDay(Date date) const
{
    const QDate d = local(date).date();
    const QDateTime end(d, QTime(23, 59, 59), m_zone);
    return end.isValid() ? Date::fromDateTime(end) : date;
}

bool TimeContext::isSameDay(Date a, Date b) const
{
    return local(a).date() == local(b).date();
}
