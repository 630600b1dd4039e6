#pragma once

#include "model/DailyBucket.h"
#include "util/TimeContext.h"

#include <QColor>
#include <QLocale>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// One bar segment of the chart: in the dashboard currency, negative for churn.
struct Plot
{
    int day = 0; // index of the bucket
    double value = 0;
    QString series; // "New", "Recurring", "Churn"
    friend bool operator==(const Plot &, const Plot &) = default;
};

// One bucket per calendar day from `firstDay` to `lastDay`, empty days included, so that bars
// keep one width per range and labels stay evenly spaced; buckets outside are dropped.
QList<DailyBucket> daySlots(const QList<DailyBucket> &buckets, QDate firstDay, QDate lastDay,
                            const TimeContext &calendar);

// Day bars stacked from zero: new and recurring above the line, churn below.
QList<Plot> plotData(const QList<DailyBucket> &buckets);
// Round axis marks covering [minimum, maximum] (zero always included), about `target` steps.
QList<double> yAxisMarks(double minimum, double maximum, int target = 4);

// The y extent and its marks: the top is a round mark, while below zero the axis reaches only as
// deep as the largest churn needs (with a little room), keeping the marks that fall inside.
struct YAxis
{
    double bottom = 0;
    double top = 0;
    QList<double> marks;
    friend bool operator==(const YAxis &, const YAxis &) = default;
};
YAxis yAxis(double lowest, double highest, int target = 4);
QColor seriesColor(const QString &series);

// What the chart item draws: the plots, the axis marks and their labels.
class ChartModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Owned by the dashboard")
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)
    Q_PROPERTY(int dayCount READ dayCount NOTIFY changed)

public:
    struct XLabel
    {
        int day;
        QString text;
    };

    ChartModel(QLocale locale, QObject *parent = nullptr);

    // `buckets` in US dollars; the chart shows them in `currency`.
    void setData(const QList<DailyBucket> &buckets, QDate firstDay, QDate lastDay, const TimeContext &calendar,
                 bool privacyMode, const QString &currency = QStringLiteral("usd"));
    // The hovered day's date and its three figures.
    Q_INVOKABLE QString readout(int day) const;

    bool isEmpty() const { return m_plots.isEmpty(); }
    int dayCount() const { return static_cast<int>(m_bucketCount); }
    const QList<Plot> &plots() const { return m_plots; }
    const QList<double> &yMarks() const { return m_yAxis.marks; }
    double yBottom() const { return m_yAxis.bottom; }
    double yTop() const { return m_yAxis.top; }
    QStringList yLabels() const;
    const QList<XLabel> &xLabels() const { return m_xLabels; }
    int stride() const { return m_stride; }

Q_SIGNALS:
    void changed();

private:
    QLocale m_locale;
    qsizetype m_bucketCount = 0;
    QList<DailyBucket> m_days;
    QStringList m_dayTitles;
    QList<Plot> m_plots;
    YAxis m_yAxis;
    QList<XLabel> m_xLabels;
    int m_stride = 1;
    bool m_privacyMode = false;
    QString m_currency = QStringLiteral("usd");
};
