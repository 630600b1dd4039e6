#pragma once

#include "util/Result.h"

#include <QByteArray>
#include <QString>

class QFile;

// The raw input and output of the data folder's files, where the faults of real disks are
// met: a full disk or quota, a failing disk, files owned by someone else, FIFOs and links.
namespace DataFile {

// A system error in the user's words: "the disk is full", "permission denied".
QString reasonFor(int errorNumber);

// Writes `bytes` to `path` through a temporary file in the same folder, private before its
// first byte, that replaces `path` only once every byte is on the disk. On failure `path`
// is exactly as it was and the error is the reason ("the disk is full").
Result<Done, QString> write(const QString &path, const QByteArray &bytes);

// What opening a data file for reading found.
struct Opened
{
    enum class State { Missing, Open, Unreadable };
    State state = State::Missing;
    QString reason; // when Unreadable: "permission denied", "it is not a regular file", ...
};

// Opens `path` into `file` without ever blocking: a FIFO or a device in its place is
// unreadable, and so is a link that leads out of `folder`.
Opened open(QFile &file, const QString &path, const QString &folder);

// Whether `path` is a link whose target lies outside `folder` (or nowhere).
bool linksOutOf(const QString &path, const QString &folder);

} // namespace DataFile
