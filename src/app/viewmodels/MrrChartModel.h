#pragma once

#include "model/Preferences.h"
#include "mrr/MrrTypes.h"
#include "util/TimeContext.h"
#include "viewmodels/ChartModel.h"

#include <QColor>
#include <QLocale>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// One stacked part of a month's movement bar, in the dashboard currency: gains above zero
// (new, expansion, reactivation), losses below (contraction, churn).
struct MovementBar
{
    int month = 0;
    double from = 0;
    double to = 0;
    MrrMovementKind kind = MrrMovementKind::New;
    friend bool operator==(const MovementBar &, const MovementBar &) = default;
};
QList<MovementBar> movementBars(const QList<MrrMovements> &months);

// What the MRR chart draws: on top the MRR line with the goal line, below the movement bars,
// both over the same months, each with its own axis.
class MrrChartModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the MRR pane")
    Q_PROPERTY(int monthCount READ monthCount NOTIFY changed)

public:
    explicit MrrChartModel(QLocale locale, QObject *parent = nullptr);

    // `months` in US dollars, oldest first; `goalUsd` 0 for no goal line.
    void setData(const QList<MrrMonth> &months, double goalUsd, const Preferences &preferences,
                 const TimeContext &calendar);
    Q_INVOKABLE QString readout(int month) const;

    int monthCount() const { return static_cast<int>(m_mrr.size()); }
    const QList<double> &mrrLine() const { return m_mrr; }
    std::optional<double> goal() const { return m_goal; }
    const YAxis &mrrAxis() const { return m_mrrAxis; }
    const YAxis &barAxis() const { return m_barAxis; }
    QStringList mrrLabels() const { return labels(m_mrrAxis); }
    QStringList barLabels() const { return labels(m_barAxis); }
    const QList<MovementBar> &bars() const { return m_bars; }
    const QStringList &monthLabels() const { return m_monthLabels; }

Q_SIGNALS:
    void changed();

private:
    QStringList labels(const YAxis &axis) const;

    QLocale m_locale;
    QList<MrrMonth> m_months;
    QList<double> m_mrr;
    std::optional<double> m_goal;
    YAxis m_mrrAxis;
    YAxis m_barAxis;
    QList<MovementBar> m_bars;
    QStringList m_monthLabels;
    Preferences m_preferences;
    TimeContext m_calendar;
};
