#include "DataFile.h"

#include "storage/FilePermissions.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace DataFile {

QString reasonFor(int errorNumber)
{
    switch (errorNumber) {
    case ENOSPC: return u"the disk is full"_s;
#ifdef EDQUOT
    case EDQUOT: return u"the disk quota is used up"_s;
#endif
    case EIO: return u"the disk reported an error"_s;
    case EROFS: return u"the disk is read-only"_s;
    case EACCES:
    case EPERM: return u"permission denied"_s;
    case 0: return u"not every byte could be written"_s;
    default: return QString::fromLocal8Bit(std::strerror(errorNumber)).toLower();
    }
}

namespace {

Result<Done, QString> cancel(QSaveFile &file, int errorNumber)
{
    file.cancelWriting();
    return reasonFor(errorNumber);
}

} // namespace

Result<Done, QString> write(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    // Unbuffered, so a full disk shows in write()'s own result rather than in a flush that
    // commit() does not report.
    errno = 0;
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return reasonFor(errno ? errno : EACCES);
    // The temporary copy is made private before the first byte goes in; the rename keeps it so.
    errno = 0;
    if (!FilePermissions::restrictToOwner(file))
        return cancel(file, errno);
    errno = 0;
    if (file.write(bytes) != bytes.size())
        return cancel(file, errno);
    // Bytes the system took may still fail to reach the disk (delayed allocation, quotas on
    // network folders); they must be there before the rename makes them the file.
    if (::fsync(file.handle()) != 0)
        return cancel(file, errno);
    errno = 0;
    if (!file.commit())
        return reasonFor(errno ? errno : EIO);
    return Done{};
}

bool linksOutOf(const QString &path, const QString &folder)
{
    const QFileInfo info(path);
    if (!info.isSymLink())
        return false;
    const QString target = info.canonicalFilePath();
    const QString inside = QFileInfo(folder).canonicalFilePath();
    return target.isEmpty() || inside.isEmpty() || !target.startsWith(inside + u'/');
}

Opened open(QFile &file, const QString &path, const QString &folder)
{
    if (linksOutOf(path, folder))
        return {Opened::State::Unreadable, u"it is a link to a place outside the data folder"_s};
    // Non-blocking: opening a FIFO for reading would otherwise wait for a writer forever.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT ? Opened{} : Opened{Opened::State::Unreadable, reasonFor(errno)};
    struct stat status;
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        return {Opened::State::Unreadable, u"it is not a regular file"_s};
    }
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return {Opened::State::Unreadable, file.errorString()};
    }
    return {Opened::State::Open, {}};
}

} // namespace DataFile
