#pragma once

#include "viewmodels/ChartModel.h"

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

public:
    explicit RevenueChart(QQuickItem *parent = nullptr);

    ChartModel *model() const { return m_model; }
    void setModel(ChartModel *model);
    void paint(QPainter *painter) override;

Q_SIGNALS:
    void modelChanged();
    void styleChanged();

private:
    QPointer<ChartModel> m_model;
    QColor m_textColor = Qt::gray;
    QColor m_gridColor = QColor(128, 128, 128, 50);
    QFont m_font;
};
