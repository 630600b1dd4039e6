#include "DamagedFiles.h"

#include "storage/DataFile.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace DamagedFiles {

QString keepCopy(const QString &folder, const QString &fileName, const QByteArray &bytes, const QString &utcStamp)
{
    const QDir dir(folder);
    // The stamp sorts by time, so the names sort by age.
    QStringList copies = dir.entryList({fileName + u".damaged-*"_s}, QDir::Files, QDir::Name);
    if (!copies.isEmpty()) {
        QFile newest(dir.filePath(copies.last()));
        if (newest.open(QIODevice::ReadOnly) && newest.readAll() == bytes)
            return newest.fileName(); // the same damage seen at an earlier start
    }
    const QString path = dir.filePath(fileName + u".damaged-"_s + utcStamp);
    if (!DataFile::write(path, bytes))
        return {};
    copies.append(QFileInfo(path).fileName());
    copies.removeDuplicates();
    while (copies.size() > keptCopies)
        QFile::remove(dir.filePath(copies.takeFirst()));
    return path;
}

QString describe(const FileDamage &damage)
{
    if (damage.blocksWrites)
        return u"Cannot read %1 (%2); nothing is written to it until it can be read."_s.arg(damage.file, damage.reason);
    if (!damage.reason.isEmpty())
        return u"%1 could not be read (%2)."_s.arg(damage.file, damage.reason);
    const QString where = damage.keptAt.isEmpty() ? u"no copy could be kept"_s
                                                  : u"a copy was kept as %1"_s.arg(damage.keptAt);
    if (damage.skipped == 0)
        return u"%1 could not be read; %2."_s.arg(damage.file, where);
    const QString entries = damage.skipped == 1 ? u"1 entry"_s : u"%1 entries"_s.arg(damage.skipped);
    return u"%1 of %2 could not be read and %3 left out; %4."_s.arg(entries, damage.file,
                                                                  damage.skipped == 1 ? u"was"_s : u"were"_s, where);
}

} // namespace DamagedFiles
