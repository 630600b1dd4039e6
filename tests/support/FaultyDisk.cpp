#include "FaultyDisk.h"

#include <QByteArray>
#include <QHash>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace {

struct State
{
    bool armed = false;
    QByteArray folder;
    FaultyDisk::Fault fault;
    QHash<QByteArray, qint64> written; // per file
};

State &state()
{
    static State s;
    return s;
}

template<typename F>
F real(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

bool under(const char *path)
{
    return path && QByteArray(path).startsWith(state().folder);
}

QByteArray targetOf(int fd)
{
    char target[4096];
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(fd);
    const ssize_t n = ::readlink(link.constData(), target, sizeof target);
    return n > 0 ? QByteArray(target, n) : QByteArray();
}

bool fdUnder(int fd)
{
    return under(targetOf(fd).constData());
}

bool unreadable(const char *path)
{
    const State &s = state();
    if (!s.armed || s.fault.unreadable.isEmpty() || !under(path))
        return false;
    const QByteArray name = "/" + QFile::encodeName(s.fault.unreadable);
    return QByteArray(path).endsWith(name);
}

int openWith(const char *name, const char *path, int flags, va_list args)
{
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? mode_t(va_arg(args, int)) : 0;
    // EIO shows when reading, as a failing sector does; anything else when opening.
    if (unreadable(path) && state().fault.error != EIO) {
        errno = state().fault.error;
        return -1;
    }
    return real<int (*)(const char *, int, ...)>(name)(path, flags, mode);
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list args;
    va_start(args, flags);
    const int fd = openWith("open", path, flags, args);
    va_end(args);
    return fd;
}

int open64(const char *path, int flags, ...)
{
    va_list args;
    va_start(args, flags);
    const int fd = openWith("open64", path, flags, args);
    va_end(args);
    return fd;
}

ssize_t read(int fd, void *buffer, size_t size)
{
    const State &s = state();
    if (s.armed && s.fault.error == EIO && unreadable(targetOf(fd).constData())) {
        errno = EIO;
        return -1;
    }
    static const auto next = real<ssize_t (*)(int, void *, size_t)>("read");
    return next(fd, buffer, size);
}

ssize_t write(int fd, const void *buffer, size_t size)
{
    State &s = state();
    const QByteArray target = s.armed ? targetOf(fd) : QByteArray();
    if (s.armed && s.fault.bytesAccepted >= 0 && under(target.constData())) {
        const qint64 room = s.fault.bytesAccepted - s.written.value(target);
        if (room <= 0) {
            errno = s.fault.error;
            return -1;
        }
        size = std::min<size_t>(size, size_t(room)); // a short write, as a filling disk gives
    }
    static const auto next = real<ssize_t (*)(int, const void *, size_t)>("write");
    const ssize_t n = next(fd, buffer, size);
    if (s.armed && n > 0)
        s.written[target] += n;
    return n;
}

int fsync(int fd)
{
    if (state().armed && state().fault.sync && fdUnder(fd)) {
        errno = state().fault.error;
        return -1;
    }
    return real<int (*)(int)>("fsync")(fd);
}

int fdatasync(int fd)
{
    if (state().armed && state().fault.sync && fdUnder(fd)) {
        errno = state().fault.error;
        return -1;
    }
    return real<int (*)(int)>("fdatasync")(fd);
}

int rename(const char *from, const char *to)
{
    if (state().armed && state().fault.rename && under(to)) {
        errno = state().fault.error;
        return -1;
    }
    return real<int (*)(const char *, const char *)>("rename")(from, to);
}

} // extern "C"

namespace FaultyDisk {

Armed::Armed(const QString &folder, Fault fault)
{
    State &s = state();
    s.folder = QFile::encodeName(QFileInfo(folder).canonicalFilePath() + u'/');
    s.fault = std::move(fault);
    s.written.clear();
    s.armed = true;
}

Armed::~Armed()
{
    state().armed = false;
}

} // namespace FaultyDisk
