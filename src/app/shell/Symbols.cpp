#include "Symbols.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace {

struct Entry
{
    const char *symbol;
    const char *icon; // Lucide file name without ".svg"
};

// The icon set has no filled variants; filled symbols map to their outline shape.
constexpr Entry table[] = {
    {"chart.line.uptrend.xyaxis", "chart-line"},
    {"gearshape", "settings"},
    {"trophy.fill", "trophy"},
    {"eye", "eye"},
    {"eye.slash.fill", "eye-off"},
    {"arrow.clockwise", "rotate-cw"},
    {"xmark.circle.fill", "circle-x"},
    {"exclamationmark.triangle.fill", "triangle-alert"},
    {"exclamationmark.circle.fill", "circle-alert"},
    {"exclamationmark", "circle-alert"},
    {"chevron.down", "chevron-down"},
    {"chevron.up", "chevron-up"},
    {"chevron.left", "chevron-left"},
    {"chevron.right", "chevron-right"},
    {"calendar", "calendar"},
    {"person.crop.circle.fill", "circle-user-round"},
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
    {"creditcard.fill", "credit-card"},
    {"p.circle.fill", "circle-parking"},
    {"checkmark", "check"},
    {"checkmark.circle.fill", "circle-check"},
    {"checkmark.seal.fill", "badge-check"},
    {"xmark", "x"},
    {"arrow.uturn.left", "undo-2"},
    {"arrow.up.circle.fill", "circle-arrow-up"},
    {"arrow.up.circle", "circle-arrow-up"},
    {"sparkles", "sparkles"},
    {"star.fill", "star"},
    {"tray", "inbox"},
    {"square.and.arrow.down", "download"},
};

} // namespace

namespace Symbols {

std::optional<QString> resourcePath(QStringView symbol)
{
    for (const Entry &e : table)
        if (symbol == QLatin1StringView(e.symbol))
            return u":/icons/"_s + QLatin1StringView(e.icon) + u".svg"_s;
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
    QSvgRenderer renderer(svg);
    if (!renderer.isValid())
        return {};
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter);
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
