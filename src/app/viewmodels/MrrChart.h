#pragma once

#include "viewmodels/MrrChartModel.h"

#include <QFontMetricsF>
#include <QPointer>
#include <QQuickPaintedItem>

// Paints twelve months of MRR: the MRR line and the dashed goal line on top, the movement
// bars under them, months along the bottom. Text and grid colours come from QML.
class MrrChart : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(MrrChartModel *model READ model WRITE setModel NOTIFY modelChanged)
    Q_PROPERTY(QColor textColor MEMBER m_textColor NOTIFY styleChanged)
    Q_PROPERTY(QColor gridColor MEMBER m_gridColor NOTIFY styleChanged)
    Q_PROPERTY(QColor lineColor MEMBER m_lineColor NOTIFY styleChanged)
    Q_PROPERTY(QColor goalColor MEMBER m_goalColor NOTIFY styleChanged)
    Q_PROPERTY(QFont font MEMBER m_font NOTIFY styleChanged)
    // The month under the pointer, highlighted; -1 for none.
    Q_PROPERTY(int hoveredMonth READ hoveredMonth WRITE setHoveredMonth NOTIFY hoveredMonthChanged)

public:
    explicit MrrChart(QQuickItem *parent = nullptr);

    MrrChartModel *model() const { return m_model; }
    void setModel(MrrChartModel *model);
    void paint(QPainter *painter) override;
    int hoveredMonth() const { return m_hoveredMonth; }
    void setHoveredMonth(int month);
    // The month slot under x, or -1 outside the plot.
    Q_INVOKABLE int monthAt(qreal x) const;

Q_SIGNALS:
    void hoveredMonthChanged();
    void modelChanged();
    void styleChanged();

private:
    struct Areas
    {
        QRectF line;
        QRectF bars;
        qreal labelWidth = 0;
    };
    Areas areas(const QFontMetricsF &metrics) const;
    void paintAxis(QPainter *painter, const QRectF &area, const YAxis &axis, const QStringList &labels,
                   qreal labelWidth, const QFontMetricsF &metrics) const;

    QPointer<MrrChartModel> m_model;
    int m_hoveredMonth = -1;
    QColor m_textColor = Qt::gray;
    QColor m_gridColor = QColor(128, 128, 128, 50);
    QColor m_lineColor = Qt::white;
    QColor m_goalColor = Qt::yellow;
    QFont m_font;
};
