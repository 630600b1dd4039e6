#pragma once

#include "viewmodels/ChartModel.h"

#include <QFontMetricsF>
#include <QPointer>
#include <QQuickPaintedItem>

// Paints the stacked daily bars with their axes. Colours of text and grid come from QML so
// the chart follows the window's appearance.
class RevenueChart : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(ChartModel *model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(QColor textColor MEMBER m_textColor NOTIFY styleChanged)
    Q_PROPERTY(QColor gridColor MEMBER m_gridColor NOTIFY styleChanged)
    Q_PROPERTY(QFont font MEMBER m_font NOTIFY styleChanged)
    // The day under the pointer, highlighted; -1 for none.
    Q_PROPERTY(int hoveredDay READ hoveredDay WRITE setHoveredDay NOTIFY hoveredDayChanged)

public:
    explicit RevenueChart(QQuickItem *parent = nullptr);

    ChartModel *model() const { return m_model; }
    void setModel(ChartModel *model);
    void paint(QPainter *painter) override;
    int hoveredDay() const { return m_hoveredDay; }
    void setHoveredDay(int day);
    // The day slot under x, or -1 outside the plot.
    Q_INVOKABLE int dayAt(qreal x) const;

Q_SIGNALS:
    void hoveredDayChanged();
    void modelChanged();
    void styleChanged();

private:
    QRectF plotArea(const QFontMetricsF &metrics) const;
    qreal labelWidth(const QFontMetricsF &metrics) const;

    QPointer<ChartModel> m_model;
    int m_hoveredDay = -1;
    QColor m_textColor = Qt::gray;
    QColor m_gridColor = QColor(128, 128, 128, 50);
    QFont m_font;
};
