#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

// A data file that did not decode completely. Before anything could write over it, a copy
// of its bytes is kept beside it as "{name}.damaged-{UTC time}", so a file written by a
// newer version, or hurt by a bad disk or a hand edit, can always be recovered.
struct FileDamage
{
    QString file;           // "accounts.json"
    QString keptAt;         // the kept copy; empty when no copy could be written
    qsizetype skipped = 0;  // elements left out; 0 when nothing could be read at all
    QString reason;         // why nothing could be read: "permission denied", "it is empty"
    bool blocksWrites = false; // unreadable: nothing may replace it before it has been read
    friend bool operator==(const FileDamage &, const FileDamage &) = default;
};

namespace DamagedFiles {

// How many kept copies of one file survive; older ones are removed.
inline constexpr int keptCopies = 3;

// Copies `fileName` in `folder` aside unless the newest kept copy already holds the same
// bytes, prunes older copies and returns the path of the copy (empty when writing failed).
QString keepCopy(const QString &folder, const QString &fileName, const QByteArray &bytes, const QString &utcStamp);

// The user's line for a damaged file: which file, what was lost, where the copy is.
QString describe(const FileDamage &damage);

} // namespace DamagedFiles
