#include "RevenueChart.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

RevenueChart::RevenueChart(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &RevenueChart::styleChanged, this, [this] { update(); });
}

void RevenueChart::setModel(ChartModel *model)
{
    if (m_model == model)
        return;
    if (m_model)
        disconnect(m_model, nullptr, this, nullptr);
    m_model = model;
    if (m_model)
        connect(m_model, &ChartModel::changed, this, [this] { update(); });
    Q_EMIT modelChanged();
    update();
}

void RevenueChart::setHoveredDay(int day)
{
    if (day == m_hoveredDay)
        return;
    m_hoveredDay = day;
    Q_EMIT hoveredDayChanged();
    update();
}

qreal RevenueChart::labelWidth(const QFontMetricsF &metrics) const
{
    qreal widest = 0;
    for (const QString &l : m_model->yLabels())
        widest = std::max(widest, metrics.horizontalAdvance(l));
    return widest;
}

QRectF RevenueChart::plotArea(const QFontMetricsF &metrics) const
{
    // The y labels sit on the right, as the plot reads from the left edge.
    return QRectF(0, metrics.height() / 2, width() - labelWidth(metrics) - 6, height() - metrics.height() * 1.5 - 6);
}

int RevenueChart::dayAt(qreal x) const
{
    if (!m_model || m_model->dayCount() <= 0)
        return -1;
    const QRectF plot = plotArea(QFontMetricsF(m_font));
    if (x < plot.left() || x >= plot.right())
        return -1;
    return std::clamp(int((x - plot.left()) / (plot.width() / m_model->dayCount())), 0, m_model->dayCount() - 1);
}

void RevenueChart::paint(QPainter *painter)
{
    if (!m_model)
        return;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(m_font);
    const QFontMetricsF metrics(m_font);

    const QList<double> &marks = m_model->yMarks();
    const QStringList labels = m_model->yLabels();
    const qreal labelWidth = this->labelWidth(metrics);
    const QRectF plot = plotArea(metrics);
    const double top = m_model->yTop() > m_model->yBottom() ? m_model->yTop() : 1;
    const double bottom = m_model->yBottom();
    // Halves keep the span finite for any finite marks; a stack that overflowed is clamped.
    const double halfSpan = top / 2 - bottom / 2 > 0 ? top / 2 - bottom / 2 : 0.5;
    const auto yOf = [&](double v) {
        const double share = std::clamp((v / 2 - bottom / 2) / halfSpan, -0.05, 1.05);
        return plot.bottom() - (std::isnan(share) ? 0.0 : share) * plot.height();
    };

    const int days = std::max(1, m_model->dayCount());
    const qreal slot = plot.width() / days;
    if (m_hoveredDay >= 0 && m_hoveredDay < days)
        painter->fillRect(QRectF(plot.left() + slot * m_hoveredDay, plot.top(), slot, plot.height()), m_gridColor);

    for (int i = 0; i < marks.size(); ++i) {
        const qreal y = std::round(yOf(marks.at(i))) + 0.5;
        // The zero line is the one bars stand on: drawn firmer than the grid.
        QColor zero = m_textColor;
        zero.setAlphaF(0.55f);
        painter->setPen(QPen(marks.at(i) == 0.0 ? zero : m_gridColor, 1));
        painter->drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
        painter->save();
        painter->setPen(m_textColor);
        painter->drawText(QRectF(plot.right() + 6, y - metrics.height() / 2, labelWidth, metrics.height()),
                          Qt::AlignLeft | Qt::AlignVCenter, labels.at(i));
        painter->restore();
    }

    const qreal barWidth = std::max<qreal>(1.0, slot * 0.62);

    QHash<int, std::pair<double, double>> stacked; // per day: below, above
    for (const Plot &p : m_model->plots()) {
        auto &[below, above] = stacked[p.day];
        double from, to;
        if (p.value >= 0) {
            from = above;
            to = above + p.value;
            above = to;
        } else {
            from = below;
            to = below + p.value;
            below = to;
        }
        const qreal x = plot.left() + slot * p.day + (slot - barWidth) / 2;
        QRectF bar(QPointF(x, yOf(std::max(from, to))), QPointF(x + barWidth, yOf(std::min(from, to))));
        QPainterPath path;
        const qreal radius = std::min<qreal>(2, barWidth / 2);
        path.addRoundedRect(bar, radius, radius);
        painter->fillPath(path, seriesColor(p.series));
    }

    painter->setPen(m_textColor);
    for (const auto &label : m_model->xLabels()) {
        const qreal centre = plot.left() + slot * (label.day + 0.5);
        const qreal w = metrics.horizontalAdvance(label.text) + 2;
        qreal left = std::clamp(centre - w / 2, 0.0, std::max(0.0, plot.right() - w));
        painter->drawText(QRectF(left, plot.bottom() + 4, w, metrics.height()), Qt::AlignCenter, label.text);
    }
}
