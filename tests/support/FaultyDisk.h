#pragma once

#include <QString>
#include <QtGlobal>

// A disk that fails the way real ones do, for the files under one folder. Linked into a test
// program, it stands in for the C library's open, read, write, fsync and rename (everything
// else, and every file elsewhere, passes straight through) while a Fault is armed.
namespace FaultyDisk {

struct Fault
{
    int error = 0;                   // errno of the failing call: ENOSPC, EDQUOT, EIO, EACCES
    qint64 bytesAccepted = -1;       // writes take this many bytes a file, then fail; -1: they pass
    bool sync = false;               // fsync and fdatasync fail
    bool rename = false;             // renaming onto a file fails
    QString unreadable;              // a file name whose opening (or reading, with EIO) fails
};

// Arms `fault` for files under `folder` while it lives.
class Armed
{
public:
    Armed(const QString &folder, Fault fault);
    ~Armed();
    Armed(const Armed &) = delete;
    Armed &operator=(const Armed &) = delete;
};

} // namespace FaultyDisk
