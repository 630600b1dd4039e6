#include "Symbols.h"

#include <QFile>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

enum class Fill
{
    None,
    Shape,          // the outline's shape is filled
    ShapeKnockedOut // filled, and the marks inside it (an "!", a cross) cut out of the fill
};

struct Entry
{
    const char *symbol;
    const char *icon; // Lucide file name without ".svg"
    Fill fill = Fill::None;
    int shape = 0; // which of the icon's elements is the outline that gets filled
};

// The icon set draws outlines only; a ".fill" symbol fills its outline's shape where that reads
// well, and otherwise stays an outline.
constexpr Entry table[] = {
    {"chart.line.uptrend.xyaxis", "chart-line"},
    {"gearshape", "settings"},
    {"trophy.fill", "trophy", Fill::Shape, 5},
    {"eye", "eye"},
    {"eye.slash.fill", "eye-off"},
    {"arrow.clockwise", "rotate-cw"},
    {"xmark.circle.fill", "circle-x", Fill::ShapeKnockedOut},
    {"exclamationmark.triangle.fill", "triangle-alert", Fill::ShapeKnockedOut},
    {"exclamationmark.circle.fill", "circle-alert", Fill::ShapeKnockedOut},
    {"exclamationmark", "circle-alert"},
    {"chevron.down", "chevron-down"},
    {"chevron.up", "chevron-up"},
    {"chevron.left", "chevron-left"},
    {"chevron.right", "chevron-right"},
    {"calendar", "calendar"},
    {"person.crop.circle.fill", "circle-user-round", Fill::ShapeKnockedOut, 2},
    {"person.fill.questionmark", "user-round-x"},
    {"doc.on.doc", "copy"},
    {"arrow.up.right.square", "square-arrow-out-up-right"},
    {"power", "power"},
    {"key.fill", "key-round"},
    {"key.slash", "key"},
    {"slider.horizontal.3", "sliders-horizontal"},
    {"info.circle", "info"},
    {"plus", "plus"},
    {"pencil", "pencil"},
    {"trash", "trash-2"},
    {"creditcard.fill", "credit-card", Fill::ShapeKnockedOut},
    {"p.circle.fill", "circle-parking", Fill::ShapeKnockedOut},
    {"checkmark", "check"},
    {"checkmark.circle.fill", "circle-check", Fill::ShapeKnockedOut},
    {"checkmark.seal.fill", "badge-check", Fill::ShapeKnockedOut},
    {"xmark", "x"},
    {"arrow.uturn.left", "undo-2"},
    {"arrow.up.circle.fill", "circle-arrow-up", Fill::ShapeKnockedOut},
    {"arrow.up.circle", "circle-arrow-up"},
    {"sparkles", "sparkles"},
    {"star.fill", "star", Fill::Shape},
    {"tray", "inbox"},
    {"square.and.arrow.down", "download"},
};

const Entry *entry(QStringView symbol)
{
    for (const Entry &e : table)
        if (symbol == QLatin1StringView(e.symbol))
            return &e;
    return nullptr;
}

// The icon's drawing elements (Lucide writes one self-closing element per mark).
QList<QRegularExpressionMatch> elements(const QByteArray &svg)
{
    static const QRegularExpression element(u"<(path|circle|line|rect|polyline|polygon|ellipse)\\b[^>]*/>"_s);
    QList<QRegularExpressionMatch> out;
    for (auto it = element.globalMatch(QString::fromUtf8(svg)); it.hasNext();)
        out.append(it.next());
    return out;
}

void renderSvg(QPainter &painter, const QByteArray &svg)
{
    QSvgRenderer renderer(svg);
    if (renderer.isValid())
        renderer.render(&painter);
}

} // namespace

namespace Symbols {

std::optional<QString> resourcePath(QStringView symbol)
{
    if (const Entry *e = entry(symbol))
        return u":/icons/"_s + QLatin1StringView(e->icon) + u".svg"_s;
    return std::nullopt;
}

QStringList names()
{
    QStringList out;
    for (const Entry &e : table)
        out.append(QString::fromLatin1(e.symbol));
    return out;
}

QImage render(QStringView symbol, const QColor &color, const QSize &size)
{
    const auto path = resourcePath(symbol);
    if (!path || size.isEmpty())
        return {};
    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray svg = file.readAll();
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    if (!QSvgRenderer(svg).isValid())
        return {};
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const Entry *e = entry(symbol);
    const QList<QRegularExpressionMatch> marks = elements(svg);
    if (!e || e->fill == Fill::None || e->shape >= marks.size()) {
        renderSvg(painter, svg);
    } else {
        const QRegularExpressionMatch &shape = marks.at(e->shape);
        const QString text = QString::fromUtf8(svg);
        QString filled = text;
        filled.insert(shape.capturedEnd(1), u" fill=\"%1\""_s.arg(color.name(QColor::HexRgb)));
        renderSvg(painter, filled.toUtf8());
        if (e->fill == Fill::ShapeKnockedOut) {
            // The marks alone, cut out of the filled shape.
            QString others = text;
            others.remove(shape.capturedStart(0), shape.capturedLength(0));
            painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
            renderSvg(painter, others.toUtf8());
        }
    }
    painter.end();
    if (color.alphaF() < 1) {
        // One opacity over the whole symbol, not per pass.
        QImage faded(size, QImage::Format_ARGB32_Premultiplied);
        faded.fill(Qt::transparent);
        QPainter fader(&faded);
        fader.setOpacity(color.alphaF());
        fader.drawImage(0, 0, image);
        return faded;
    }
    return image;
}

} // namespace Symbols

SymbolImageProvider::SymbolImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage SymbolImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const qsizetype question = id.indexOf(u'?');
    const QString symbol = id.left(question);
    QColor color(Qt::black);
    if (question >= 0) {
        const QUrlQuery query(id.mid(question + 1));
        const QColor requested(query.queryItemValue(u"color"_s, QUrl::FullyDecoded));
        if (requested.isValid())
            color = requested;
    }
    const QSize target = requestedSize.isValid() && !requestedSize.isEmpty() ? requestedSize : QSize(24, 24);
    QImage image = Symbols::render(symbol, color, target);
    if (image.isNull()) {
        // An empty transparent square keeps the layout and never warns.
        image = QImage(target, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    if (size)
        *size = image.size();
    return image;
}
