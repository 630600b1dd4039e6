#include "MrrChart.h"

#include "viewmodels/MrrTexts.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

// Where `value` sits in `area` on `axis`; halves keep the span finite for any finite marks.
qreal yOf(const QRectF &area, const YAxis &axis, double value)
{
    const double top = axis.top > axis.bottom ? axis.top : axis.bottom + 1;
    const double halfSpan = top / 2 - axis.bottom / 2 > 0 ? top / 2 - axis.bottom / 2 : 0.5;
    const double share = std::clamp((value / 2 - axis.bottom / 2) / halfSpan, -0.05, 1.05);
    return area.bottom() - (std::isnan(share) ? 0.0 : share) * area.height();
}

} // namespace

MrrChart::MrrChart(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    connect(this, &MrrChart::styleChanged, this, [this] { update(); });
}

void MrrChart::setModel(MrrChartModel *model)
{
    if (m_model == model)
        return;
    if (m_model)
        disconnect(m_model, nullptr, this, nullptr);
    m_model = model;
    if (m_model)
        connect(m_model, &MrrChartModel::changed, this, [this] { update(); });
    Q_EMIT modelChanged();
    update();
}

void MrrChart::setHoveredMonth(int month)
{
    if (month == m_hoveredMonth)
        return;
    m_hoveredMonth = month;
    Q_EMIT hoveredMonthChanged();
    update();
}

MrrChart::Areas MrrChart::areas(const QFontMetricsF &metrics) const
{
    Areas a;
    for (const QStringList &labels : {m_model->mrrLabels(), m_model->barLabels()})
        for (const QString &l : labels)
            a.labelWidth = std::max(a.labelWidth, metrics.horizontalAdvance(l));
    // The y labels sit on the right, as the plot reads from the left edge; the line gets the
    // larger share, the bars the rest above the month names.
    const qreal right = width() - a.labelWidth - 6;
    const qreal top = metrics.height() / 2;
    const qreal bottom = height() - metrics.height() - 6;
    const qreal gap = metrics.height() * 1.5;
    const qreal lineHeight = (bottom - top - gap) * 0.55;
    a.line = QRectF(0, top, right, lineHeight);
    a.bars = QRectF(0, top + lineHeight + gap, right, bottom - top - lineHeight - gap);
    return a;
}

int MrrChart::monthAt(qreal x) const
{
    if (!m_model || m_model->monthCount() <= 0)
        return -1;
    const QRectF plot = areas(QFontMetricsF(m_font)).line;
    if (x < plot.left() || x >= plot.right())
        return -1;
    return std::clamp(int((x - plot.left()) / (plot.width() / m_model->monthCount())), 0, m_model->monthCount() - 1);
}

void MrrChart::paintAxis(QPainter *painter, const QRectF &area, const YAxis &axis, const QStringList &labels,
                         qreal labelWidth, const QFontMetricsF &metrics) const
{
    qreal lastLabelY = -1e9;
    for (qsizetype i = 0; i < axis.marks.size(); ++i) {
        const qreal y = std::round(yOf(area, axis, axis.marks.at(i))) + 0.5;
        QColor zero = m_textColor;
        zero.setAlphaF(0.55f);
        painter->setPen(QPen(axis.marks.at(i) == 0.0 ? zero : m_gridColor, 1));
        painter->drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        // A short area holds fewer labels than marks: skip those that would touch the last.
        if (std::abs(y - lastLabelY) < metrics.height() || i >= labels.size())
            continue;
        lastLabelY = y;
        painter->setPen(m_textColor);
        painter->drawText(QRectF(area.right() + 6, y - metrics.height() / 2, labelWidth, metrics.height()),
                          Qt::AlignLeft | Qt::AlignVCenter, labels.at(i));
    }
}

void MrrChart::paint(QPainter *painter)
{
    if (!m_model || m_model->monthCount() <= 0)
        return;
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setFont(m_font);
    const QFontMetricsF metrics(m_font);
    const Areas a = areas(metrics);
    const int months = m_model->monthCount();
    const qreal slot = a.line.width() / months;

    if (m_hoveredMonth >= 0 && m_hoveredMonth < months) {
        painter->fillRect(QRectF(slot * m_hoveredMonth, a.line.top(), slot, a.line.height()), m_gridColor);
        painter->fillRect(QRectF(slot * m_hoveredMonth, a.bars.top(), slot, a.bars.height()), m_gridColor);
    }
    paintAxis(painter, a.line, m_model->mrrAxis(), m_model->mrrLabels(), a.labelWidth, metrics);
    paintAxis(painter, a.bars, m_model->barAxis(), m_model->barLabels(), a.labelWidth, metrics);

    if (const auto goal = m_model->goal()) {
        const qreal y = yOf(a.line, m_model->mrrAxis(), *goal);
        painter->setPen(QPen(m_goalColor, 1.2, Qt::DashLine));
        painter->drawLine(QPointF(a.line.left(), y), QPointF(a.line.right(), y));
    }

    QPainterPath line;
    const QList<double> &mrr = m_model->mrrLine();
    for (int i = 0; i < mrr.size(); ++i) {
        const QPointF point(slot * (i + 0.5), yOf(a.line, m_model->mrrAxis(), mrr.at(i)));
        i == 0 ? line.moveTo(point) : line.lineTo(point);
    }
    painter->setPen(QPen(m_lineColor, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPath(line);
    painter->setBrush(m_lineColor);
    if (!mrr.isEmpty())
        painter->drawEllipse(QPointF(slot * (mrr.size() - 0.5), yOf(a.line, m_model->mrrAxis(), mrr.last())), 2.5, 2.5);
    painter->setBrush(Qt::NoBrush);

    const qreal barWidth = std::max<qreal>(1.0, slot * 0.55);
    for (const MovementBar &bar : m_model->bars()) {
        const qreal x = slot * bar.month + (slot - barWidth) / 2;
        const YAxis &axis = m_model->barAxis();
        const QRectF rect(QPointF(x, yOf(a.bars, axis, std::max(bar.from, bar.to))),
                          QPointF(x + barWidth, yOf(a.bars, axis, std::min(bar.from, bar.to))));
        QPainterPath path;
        const qreal radius = std::min<qreal>(2, barWidth / 2);
        path.addRoundedRect(rect, radius, radius);
        painter->fillPath(path, MrrTexts::movementColor(bar.kind));
    }

    painter->setPen(m_textColor);
    const QStringList &labels = m_model->monthLabels();
    // Every month where the names fit side by side, else every other one, the latest kept.
    const qreal widest = std::accumulate(labels.begin(), labels.end(), 0.0, [&](qreal w, const QString &l) {
        return std::max(w, metrics.horizontalAdvance(l));
    });
    const int stride = widest + 4 > slot ? 2 : 1;
    for (int i = labels.size() - 1; i >= 0; i -= stride) {
        const qreal w = metrics.horizontalAdvance(labels.at(i)) + 2;
        const qreal left = std::clamp(slot * (i + 0.5) - w / 2, 0.0, std::max(0.0, a.line.right() - w));
        painter->drawText(QRectF(left, a.bars.bottom() + 4, w, metrics.height()), Qt::AlignCenter, labels.at(i));
    }
}
