#include "FaultyDisk.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

// What is armed, and the bytes written to each file since.
struct State { bool armed = false; QByteArray folder; FaultyDisk::Fault fault; QHash<QByteArray, qint64> written; } state;

template<typename F>
F next(const char *name)
{
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}

// The armed fault's file or folder holds `path` (which may be an open descriptor's).
bool hit(const QByteArray &path)
{
    return state.armed && path.startsWith(state.folder);
}

QByteArray pathOf(int fd)
{
    char target[4096];
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(fd);
    const ssize_t n = ::readlink(link.constData(), target, sizeof target);
    return n > 0 ? QByteArray(target, n) : QByteArray();
}

bool unreadable(const QByteArray &path)
{
    return hit(path) && !state.fault.unreadable.isEmpty()
        && path.endsWith(QByteArray('/' + QFile::encodeName(state.fault.unreadable)));
}

int failWith(int error)
{
    errno = error;
    return -1;
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...)
{
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? mode_t(va_arg(args, int)) : 0;
    va_end(args);
    // EIO shows when reading, as a failing sector does; anything else when opening.
    if (unreadable(path) && state.fault.error != EIO)
        return failWith(state.fault.error);
    static const auto real = next<int (*)(const char *, int, ...)>("open");
    return real(path, flags, mode);
}

// On a 64-bit system the large-file name is the same function.
int open64(const char *path, int flags, ...) __attribute__((alias("open")));

ssize_t read(int fd, void *buffer, size_t size)
{
    if (state.armed && state.fault.error == EIO && unreadable(pathOf(fd)))
        return failWith(EIO);
    static const auto real = next<ssize_t (*)(int, void *, size_t)>("read");
    return real(fd, buffer, size);
}

ssize_t write(int fd, const void *buffer, size_t size)
{
    const QByteArray path = state.armed ? pathOf(fd) : QByteArray();
    if (hit(path) && state.fault.bytesAccepted >= 0) {
        const qint64 room = state.fault.bytesAccepted - state.written.value(path);
        if (room <= 0)
            return failWith(state.fault.error);
        size = std::min<size_t>(size, size_t(room)); // a short write, as a filling disk gives
    }
    static const auto real = next<ssize_t (*)(int, const void *, size_t)>("write");
    const ssize_t n = real(fd, buffer, size);
    if (hit(path) && n > 0)
        state.written[path] += n;
    return n;
}

int fsync(int fd)
{
    static const auto real = next<int (*)(int)>("fsync");
    return state.armed && state.fault.sync && hit(pathOf(fd)) ? failWith(state.fault.error) : real(fd);
}

int fdatasync(int fd)
{
    static const auto real = next<int (*)(int)>("fdatasync");
    return state.armed && state.fault.sync && hit(pathOf(fd)) ? failWith(state.fault.error) : real(fd);
}

int rename(const char *from, const char *to)
{
    static const auto real = next<int (*)(const char *, const char *)>("rename");
    return state.fault.rename && hit(to) ? failWith(state.fault.error) : real(from, to);
}

} // extern "C"

FaultyDisk::Armed::Armed(const QString &folder, Fault fault)
{
    state = {true, QFile::encodeName(QFileInfo(folder).canonicalFilePath() + u'/'), std::move(fault), {}};
}

FaultyDisk::Armed::~Armed()
{
    state.armed = false;
}
