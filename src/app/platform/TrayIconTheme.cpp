#include "TrayIconTheme.h"

#include <QDir>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

bool savePng(const QImage &image, const QString &path)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG"))
        return false;
    return file.commit();
}

} // namespace

TrayIconTheme::TrayIconTheme(QString folder)
    : m_folder(folder.isEmpty()
                   ? QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"/tray-icons"_s
                   : std::move(folder))
{
}

QString TrayIconTheme::write(const QImage &source) const
{
    const QImage argb = source.convertToFormat(QImage::Format_ARGB32);
    const QString name = u"quorvane-tray-"_s
                         + QString::number(qHash(QByteArrayView(argb.constBits(), argb.sizeInBytes())), 16);
    const QString file = name + u".png"_s;
    bool ok = true;
    for (int size : {16, 22, 24, 32, 48, 64}) {
        const QImage scaled = source.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        ok = savePng(scaled, u"%1/hicolor/%2x%2/apps/%3"_s.arg(m_folder, QString::number(size), file)) && ok;
    }
    ok = savePng(source.scaled(48, 48, Qt::KeepAspectRatio, Qt::SmoothTransformation), m_folder + u'/' + file) && ok;
    return ok ? name : QString();
}
