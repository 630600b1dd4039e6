// Build-time tool: draws the scalable application icon at the fixed sizes of the hicolor
// theme, as OUT/{size}x{size}/apps/NAME.png.
#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char **argv)
{
    if (argc < 5) {
        std::fputs("usage: render_app_icon ICON.svg OUT-FOLDER NAME SIZE...\n", stderr);
        return 2;
    }
    QSvgRenderer svg(QString::fromLocal8Bit(argv[1]));
    if (!svg.isValid()) {
        std::fprintf(stderr, "render_app_icon: cannot read %s\n", argv[1]);
        return 1;
    }
    const QString out = QString::fromLocal8Bit(argv[2]);
    const QString name = QString::fromLocal8Bit(argv[3]);
    for (int i = 4; i < argc; ++i) {
        const int size = QByteArray(argv[i]).toInt();
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(out).arg(size);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
        painter.end();
        if (size <= 0 || !QDir().mkpath(folder) || !image.save(folder + u'/' + name + QStringLiteral(".png"))) {
            std::fprintf(stderr, "render_app_icon: cannot write the %s px icon\n", argv[i]);
            return 1;
        }
    }
    return 0;
}
