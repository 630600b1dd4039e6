#include "MrrChartModel.h"

#include "model/CurrencyConverter.h"
#include "viewmodels/Formatting.h"
#include "viewmodels/MrrTexts.h"

QList<MovementBar> movementBars(const QList<MrrMovements> &months)
{
    QList<MovementBar> bars;
    for (int i = 0; i < months.size(); ++i) {
        const MrrMovements &m = months.at(i);
        double above = 0, below = 0;
        const auto stack = [&](MrrMovementKind kind, double amount, double &edge, double sign) {
            if (!(amount > 0))
                return;
            bars.append({i, edge, edge + sign * amount, kind});
            edge += sign * amount;
        };
        stack(MrrMovementKind::New, m.newMrr, above, 1);
        stack(MrrMovementKind::Expansion, m.expansion, above, 1);
        stack(MrrMovementKind::Reactivation, m.reactivation, above, 1);
        stack(MrrMovementKind::Contraction, m.contraction, below, -1);
        stack(MrrMovementKind::Churn, m.churn, below, -1);
    }
    return bars;
}

MrrChartModel::MrrChartModel(QLocale locale, QObject *parent)
    : QObject(parent)
    , m_locale(std::move(locale))
{
}

void MrrChartModel::setData(const QList<MrrMonth> &months, double goalUsd, const Preferences &preferences,
                            const TimeContext &calendar)
{
    const double perUsd = CurrencyConverter::fromUSD(1.0, preferences.dashboardCurrency);
    m_months = months;
    m_preferences = preferences;
    m_calendar = calendar;
    m_mrr.clear();
    m_monthLabels.clear();
    QList<MrrMovements> movements;
    double highest = 0;
    for (const MrrMonth &month : months) {
        m_mrr.append(month.mrrUsd * perUsd);
        highest = std::max(highest, m_mrr.last());
        MrrMovements m = month.movements;
        for (double *part : {&m.newMrr, &m.expansion, &m.reactivation, &m.contraction, &m.churn})
            *part *= perUsd;
        movements.append(m);
        m_monthLabels.append(MrrTexts::monthLabel(month.monthStart, calendar, m_locale));
    }
    m_goal = goalUsd > 0 ? std::optional(goalUsd * perUsd) : std::nullopt;
    if (m_goal)
        highest = std::max(highest, *m_goal);
    m_mrrAxis = highest > 0 ? yAxis(0, highest, 3) : YAxis{0.0, 1000.0, {0.0, 500.0, 1000.0}};
    m_bars = movementBars(movements);
    double low = 0, high = 0;
    for (const MovementBar &bar : std::as_const(m_bars)) {
        low = std::min(low, bar.to);
        high = std::max(high, bar.to);
    }
    // The bars have the smaller share of the height: fewer marks keep their labels apart.
    m_barAxis = yAxis(low, high > 0 || low < 0 ? high : 100.0, 2);
    Q_EMIT changed();
}

QString MrrChartModel::readout(int month) const
{
    if (month < 0 || month >= m_months.size())
        return {};
    return MrrTexts::monthReadout(m_months.at(month), m_preferences, m_calendar, m_locale);
}

QStringList MrrChartModel::labels(const YAxis &axis) const
{
    QStringList out;
    for (double v : axis.marks)
        out.append(Formatting::formatY(v, m_preferences.privacyMode, m_preferences.dashboardCurrency));
    return out;
}
