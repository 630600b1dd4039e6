#pragma once

#include <QQuickImageProvider>
#include <QString>
#include <optional>

// The one table from the symbol names the panes use to files of the bundled icon set.
namespace Symbols {
// The resource path of the icon for `symbol`, or nullopt when the symbol is unknown.
std::optional<QString> resourcePath(QStringView symbol);
// Every symbol the table knows, for tests.
QStringList names();
// The icon drawn in `color` at `size`; a null image for unknown symbols or missing files.
QImage render(QStringView symbol, const QColor &color, const QSize &size);
} // namespace Symbols

// "image://symbol/gearshape?color=#ffffff" in QML, drawn at the requested size so that the
// strokes stay sharp at any scale.
class SymbolImageProvider : public QQuickImageProvider
{
public:
    SymbolImageProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
