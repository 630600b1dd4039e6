#pragma once

// One data file's loader fed with arbitrary bytes, through the file system as at start-up.
#include "storage/Storage.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

inline const Storage &fuzzStorage()
{
    static int argc = 1;
    static char name[] = "fuzz";
    static char *argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static QTemporaryDir dir(QStringLiteral("/dev/shm/quorvane-fuzz-XXXXXX"));
    static const Storage storage(dir.isValid() ? dir.path() : QTemporaryDir().path());
    return storage;
}

inline void writeDataFile(const char *fileName, const uint8_t *data, size_t size)
{
    const Storage &storage = fuzzStorage();
    // Kept copies of damaged files would pile up over millions of runs.
    for (const QString &copy : QDir(storage.folder()).entryList({QStringLiteral("*.damaged-*")}, QDir::Files))
        QFile::remove(QDir(storage.folder()).filePath(copy));
    QFile file(storage.pathOf(fileName));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
}
