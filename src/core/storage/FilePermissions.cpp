#include "FilePermissions.h"

#include <QDir>
#include <QFileDevice>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace FilePermissions {

namespace {
constexpr auto ownerFile = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
constexpr auto ownerFolder = QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner;
} // namespace

bool restrictFolder(const QString &path)
{
    QDir().mkpath(path);
    return QFile::setPermissions(path, ownerFolder);
}

bool restrictToOwner(QFileDevice &file)
{
    return file.setPermissions(ownerFile);
}

void tightenFolder(const QString &folder, const QStringList &dataFiles)
{
    restrictFolder(folder);
    const QDir dir(folder);
    // QSaveFile names its temporary copy after the target plus a dot and six characters.
    QStringList escaped;
    for (const QString &name : dataFiles)
        escaped.append(QRegularExpression::escape(name));
    const QRegularExpression leftover(u"^(%1)\\.[A-Za-z0-9]{6}$"_s.arg(escaped.join(u'|')));
    const auto entries = dir.entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
    for (const QFileInfo &entry : entries) {
        // A link's target may lie anywhere: changing its mode would change someone else's file.
        if (entry.isSymLink())
            continue;
        if (entry.isDir())
            QFile::setPermissions(entry.filePath(), ownerFolder);
        else if (leftover.match(entry.fileName()).hasMatch())
            QFile::remove(entry.filePath());
        else
            QFile::setPermissions(entry.filePath(), ownerFile);
    }
}

} // namespace FilePermissions
