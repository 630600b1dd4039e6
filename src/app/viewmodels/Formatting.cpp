#include "Formatting.h"

#include "model/CurrencyConverter.h"

#include <QHash>
#include <QUrl>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Formatting {

QString formatDuration(double seconds)
{
    if (seconds < 1)
        return QString::asprintf("%.0fms", seconds * 1000);
    if (seconds < 60)
        return QString::asprintf("%.1fs", seconds);
    const auto whole = static_cast<qint64>(seconds);
    return u"%1m %2s"_s.arg(whole / 60).arg(whole % 60);
}

QString eventDateLabel(Date date, Date now, const TimeContext &calendar, const QLocale &locale)
{
    const QDateTime local = calendar.local(date);
    const QString time = locale.toString(local.time(), u"h:mm AP"_s);
    if (calendar.isSameDay(date, now))
        return u"Today at "_s + time;
    if (calendar.isSameDay(date, calendar.addingDays(now, -1)))
        return u"Yesterday at "_s + time;
    if (now.secondsSince(date) < 604800)
        return relativeTime(date, now);
    return locale.toString(local, u"MMM d 'at' h:mm AP"_s);
}

QString shortDateLabel(Date date, Date now, const TimeContext &calendar, const QLocale &locale)
{
    const QDateTime local = calendar.local(date);
    if (calendar.isSameDay(date, now))
        return u"Today "_s + locale.toString(local.time(), u"h:mm AP"_s);
    if (calendar.isSameDay(date, calendar.addingDays(now, -1)))
        return u"Yesterday"_s;
    if (now.secondsSince(date) < 604800)
        return relativeTime(date, now);
    return locale.toString(local.date(), u"MMM d"_s);
}

QString relativeTime(Date date, Date now)
{
    const double delta = now.secondsSince(date);
    const double magnitude = std::abs(delta);
    if (magnitude < 1)
        return u"just now"_s;
    struct Unit
    {
        double seconds;
        const char *singular;
    };
    static constexpr Unit units[] = {{365 * 86400.0, "year"}, {30 * 86400.0, "month"}, {7 * 86400.0, "week"},
                                     {86400.0, "day"},        {3600.0, "hour"},        {60.0, "minute"},
                                     {1.0, "second"}};
    for (const Unit &unit : units) {
        if (magnitude < unit.seconds)
            continue;
        const auto count = static_cast<qint64>(magnitude / unit.seconds);
        const QString phrase = u"%1 %2%3"_s.arg(count).arg(QLatin1StringView(unit.singular), count == 1 ? u""_s : u"s"_s);
        return delta >= 0 ? phrase + u" ago"_s : u"in "_s + phrase;
    }
    return u"just now"_s;
}

QString formatNative(double amount, const QLocale &locale)
{
    if (!std::isfinite(amount))
        return QString::asprintf("%.2f", amount);
    const bool whole = std::floor(amount) == amount;
    return locale.toString(amount, 'f', whole ? 0 : 2);
}

QString formatMoney(double usd, const Preferences &preferences)
{
    if (preferences.privacyMode)
        return CurrencyConverter::mask(preferences.dashboardCurrency);
    return CurrencyConverter::formatCompact(usd, preferences.dashboardCurrency);
}

QString formatMoneyWhole(double usd, const Preferences &preferences)
{
    const QString code = preferences.dashboardCurrency;
    if (preferences.privacyMode)
        return CurrencyConverter::mask(code);
    const double native = usd / CurrencyConverter::rate(code.toLower()).value_or(1.0);
    const QString prefix = CurrencyConverter::symbol(code.toLower()).value_or(code.toUpper() + u' ');
    const QString digits = QLocale(QLocale::English).toString(static_cast<qint64>(std::llround(std::fabs(native))));
    return (std::llround(native) < 0 ? u"-"_s : QString()) + prefix + digits;
}

QString negated(const QString &amountText)
{
    bool anyDigit = false;
    for (const QChar c : amountText) {
        if (c.isDigit() && c != u'0')
            return u'-' + amountText;
        anyDigit = anyDigit || c.isDigit();
    }
    return anyDigit ? amountText : u'-' + amountText; // a mask keeps its sign
}

QString formatY(double value, bool privacyMode, QStringView currency)
{
    if (privacyMode)
        return u"•"_s;
    const QString symbol = CurrencyConverter::symbol(currency).value_or(currency.toString().toUpper() + u' ');
    const double size = std::fabs(value);
    const QString text = symbol + (size >= 1'000'000 ? QString::asprintf("%.1fM", size / 1'000'000)
                                   : size >= 1'000   ? QString::asprintf("%.1fK", size / 1'000)
                                                     : QString::asprintf("%.0f", size));
    return value < 0 ? negated(text) : text;
}

int xStride(qsizetype bucketCount)
{
    const qsizetype count = std::max<qsizetype>(1, bucketCount);
    return static_cast<int>(std::max<qsizetype>(1, (count + 5) / 6));
}

QString rangeMenuLabel(TimeRange range)
{
    switch (range) {
    case TimeRange::Mtd: return u"This month"_s;
    case TimeRange::Last7Days: return u"Last 7 days"_s;
    case TimeRange::Last30Days: return u"Last 30 days"_s;
    case TimeRange::Last90Days: return u"Last 90 days"_s;
    case TimeRange::Custom: return u"Custom range"_s;
    }
    return {};
}

QString rangeTitle(TimeRange range)
{
    switch (range) {
    case TimeRange::Mtd: return u"Revenue • Month-to-date"_s;
    case TimeRange::Last7Days: return u"Revenue • Last 7 days"_s;
    case TimeRange::Last30Days: return u"Revenue • Last 30 days"_s;
    case TimeRange::Last90Days: return u"Revenue • Last 90 days"_s;
    case TimeRange::Custom: return u"Revenue • Custom range"_s;
    }
    return {};
}

QString kindName(RevenueKind kind)
{
    return toRaw(kind);
}

QColor kindColor(RevenueKind kind)
{
    switch (kind) {
    case RevenueKind::New: return QColor::fromRgbF(0.42f, 0.72f, 0.50f);
    case RevenueKind::Recurring: return QColor::fromRgbF(0.78f, 0.65f, 0.30f);
    case RevenueKind::Churn: return QColor::fromRgbF(0.82f, 0.42f, 0.42f);
    case RevenueKind::Failed: return QColor::fromRgbF(0.95f, 0.65f, 0.10f);
    case RevenueKind::Refund: return QColor::fromRgbF(0.55f, 0.45f, 0.85f);
    }
    return {};
}

QColor kindBadgeColor(RevenueKind kind)
{
    return kindColor(kind);
}

QColor kindAmountColor(RevenueKind kind, const QColor &primary)
{
    switch (kind) {
    case RevenueKind::New:
    case RevenueKind::Recurring: return primary;
    case RevenueKind::Churn: return kindColor(RevenueKind::Churn);
    case RevenueKind::Failed: return atRiskOrange;
    case RevenueKind::Refund: return kindColor(RevenueKind::Refund);
    }
    return primary;
}

QColor providerColor(const QString &name)
{
    static const QColor palette[] = {
        QColor::fromRgbF(0.45f, 0.32f, 0.78f), QColor::fromRgbF(0.20f, 0.55f, 0.85f), QColor::fromRgbF(0.95f, 0.55f, 0.20f),
        QColor::fromRgbF(0.30f, 0.65f, 0.45f), QColor::fromRgbF(0.78f, 0.35f, 0.55f), QColor::fromRgbF(0.40f, 0.45f, 0.55f),
    };
    return palette[qHash(name) % 6];
}

QString linkLabel(const QUrl &url)
{
    QString host = url.host();
    if (host.isEmpty())
        return u"Open"_s;
    return host.replace(u"dashboard."_s, QString());
}

QStringList unconvertedNotes(const QList<PaymentEvent> &feed, const QList<qsizetype> &indices)
{
    QStringList codes;
    QHash<QString, int> counts;
    for (qsizetype i : indices) {
        const QString &currency = feed.at(i).currency;
        if (CurrencyConverter::rate(currency))
            continue;
        const QString code = currency.toUpper();
        if (!counts.contains(code))
            codes.append(code);
        ++counts[code];
    }
    QStringList lines;
    for (const QString &code : std::as_const(codes)) {
        const int n = counts.value(code);
        lines.append(u"%1 %2 in %3 not converted"_s.arg(QString::number(n), n == 1 ? u"payment"_s : u"payments"_s,
                                                        code.left(12)));
    }
    return lines;
}

QStringList skippedRecordNotes(const QHash<QUuid, qsizetype> &skipped, const QList<Account> &accounts)
{
    QStringList lines;
    for (const Account &account : accounts) {
        const qsizetype n = skipped.value(account.id);
        if (n <= 0)
            continue;
        lines.append(n == 1 ? u"1 record from %1 could not be read and was skipped"_s.arg(account.name)
                            : u"%1 records from %2 could not be read and were skipped"_s.arg(QString::number(n), account.name));
    }
    return lines;
}

} // namespace Formatting
