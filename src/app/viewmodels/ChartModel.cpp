#include "ChartModel.h"

#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"

#include <cmath>

using namespace Qt::StringLiterals;

QList<DailyBucket> daySlots(const QList<DailyBucket> &buckets, QDate firstDay, QDate lastDay,
                            const TimeContext &calendar)
{
    // A bound against absurd custom ranges; the feed itself keeps about three months.
    constexpr qint64 maxDays = 1000;
    if (!firstDay.isValid() || !lastDay.isValid() || lastDay < firstDay)
        return {};
    const qint64 count = std::min(firstDay.daysTo(lastDay) + 1, maxDays);
    QList<DailyBucket> out;
    out.reserve(count);
    for (qint64 i = 0; i < count; ++i)
        out.append(DailyBucket{Date::fromDateTime(firstDay.addDays(i).startOfDay(calendar.zone())), 0, 0, 0});
    for (const DailyBucket &b : buckets) {
        const qint64 index = firstDay.daysTo(calendar.local(b.date).date());
        if (index < 0 || index >= count)
            continue;
        out[index].newMRR += b.newMRR;
        out[index].recurringMRR += b.recurringMRR;
        out[index].churn += b.churn;
    }
    return out;
}

QList<Plot> plotData(const QList<DailyBucket> &buckets)
{
    QList<Plot> out;
    for (int i = 0; i < buckets.size(); ++i) {
        const DailyBucket &b = buckets.at(i);
        if (b.newMRR > 0)
            out.append(Plot{i, b.newMRR, u"New"_s});
        if (b.recurringMRR > 0)
            out.append(Plot{i, b.recurringMRR, u"Recurring"_s});
        if (b.churn > 0)
            out.append(Plot{i, -b.churn, u"Churn"_s});
    }
    return out;
}

QList<double> yAxisMarks(double minimum, double maximum, int target)
{
    minimum = std::min(0.0, minimum);
    maximum = std::max(0.0, maximum);
    // Where round steps cannot be had (the span overflows, or underflows to no step at
    // all), the extremes and zero are the marks.
    const auto extremes = [&] {
        QList<double> ends{0.0};
        if (minimum < 0)
            ends.prepend(minimum);
        if (maximum > 0)
            ends.append(maximum);
        return ends;
    };
    const double span = maximum - minimum;
    if (!(span > 0))
        return {0.0};
    if (!std::isfinite(span))
        return extremes();
    const double raw = span / std::max(1, target);
    const double magnitude = std::pow(10.0, std::floor(std::log10(raw)));
    double step = magnitude;
    for (double factor : {1.0, 2.0, 2.5, 5.0, 10.0}) {
        step = factor * magnitude;
        if (step >= raw)
            break;
    }
    QList<double> marks;
    const double first = std::floor(minimum / step) * step;
    const double last = std::ceil(maximum / step) * step;
    // Near the top of the double range `last` overflows and adding a step stops moving the
    // value: count the marks instead of trusting the sum.
    if (!(step > 0) || !std::isfinite(first) || !std::isfinite(last))
        return extremes();
    const int maxMarks = 4 * std::max(1, target) + 4;
    for (int i = 0; i < maxMarks; ++i) {
        const double v = first + i * step;
        if (v > last + step / 2)
            break;
        marks.append(std::abs(v) < step / 1e6 ? 0.0 : v);
    }
    return marks;
}

YAxis yAxis(double lowest, double highest, int target)
{
    YAxis axis{.marks = yAxisMarks(lowest, highest, target)};
    axis.top = axis.marks.last();
    axis.bottom = lowest < 0 ? std::max(axis.marks.first(), lowest * 1.125) : 0.0; // an eighth more room
    axis.marks.removeIf([&](double mark) { return mark < axis.bottom; });
    return axis;
}

QColor seriesColor(const QString &series)
{
    if (series == u"New"_s)
        return Formatting::kindColor(RevenueKind::New);
    if (series == u"Recurring"_s)
        return Formatting::kindColor(RevenueKind::Recurring);
    return Formatting::kindColor(RevenueKind::Churn);
}

ChartModel::ChartModel(QLocale locale, QObject *parent)
    : QObject(parent)
    , m_locale(std::move(locale))
{
}

void ChartModel::setData(const QList<DailyBucket> &rangeBuckets, QDate firstDay, QDate lastDay,
                         const TimeContext &calendar, bool privacyMode, const QString &currency)
{
    QList<DailyBucket> buckets = daySlots(rangeBuckets, firstDay, lastDay, calendar);
    const double perUSD = CurrencyConverter::fromUSD(1.0, currency);
    for (DailyBucket &b : buckets) {
        b.newMRR *= perUSD;
        b.recurringMRR *= perUSD;
        b.churn *= perUSD;
    }
    m_currency = currency;
    m_days = buckets;
    m_dayTitles.clear();
    for (const DailyBucket &b : buckets)
        m_dayTitles.append(m_locale.toString(calendar.local(b.date).date(), u"ddd, MMM d"_s));
    m_bucketCount = buckets.size();
    m_plots = plotData(buckets);
    m_privacyMode = privacyMode;
    m_stride = Formatting::xStride(buckets.size());

    // Stacks per day decide the axis extent, not single segments.
    QHash<int, std::pair<double, double>> stacks;
    for (const Plot &p : std::as_const(m_plots)) {
        auto &[below, above] = stacks[p.day];
        (p.value < 0 ? below : above) += p.value;
    }
    double low = 0, high = 0;
    for (const auto &[below, above] : std::as_const(stacks)) {
        low = std::min(low, below);
        high = std::max(high, above);
    }
    m_yAxis = m_plots.isEmpty() ? YAxis{0.0, 1000.0, {0.0, 250.0, 500.0, 750.0, 1000.0}} : yAxis(low, high);

    m_xLabels.clear();
    for (int i = 0; i < buckets.size(); i += m_stride)
        m_xLabels.append(XLabel{i, m_locale.toString(calendar.local(buckets.at(i).date).date(), u"MMM d"_s)});
    Q_EMIT changed();
}

QString ChartModel::readout(int day) const
{
    if (day < 0 || day >= m_days.size())
        return {};
    const DailyBucket &b = m_days.at(day);
    const QString symbol = CurrencyConverter::symbol(m_currency).value_or(m_currency.toUpper() + u' ');
    const auto money = [&](double amount) {
        return m_privacyMode ? u"•"_s : symbol + Formatting::formatNative(amount, m_locale);
    };
    return u"%1\nNew %2 · Recurring %3 · Churn %4"_s.arg(m_dayTitles.at(day), money(b.newMRR), money(b.recurringMRR),
                                                        b.churn > 0 ? Formatting::negated(money(b.churn)) : money(0));
}

QStringList ChartModel::yLabels() const
{
    QStringList out;
    for (double v : m_yAxis.marks)
        out.append(Formatting::formatY(v, m_privacyMode, m_currency));
    return out;
}
