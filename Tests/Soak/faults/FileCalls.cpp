// Calls on files, in place of the C library's.

#include "FaultPoint.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{
/** As the library's own functions do, of which one flag is the error indicator of ferror(3). */
std::size_t FailStream(std::FILE* file, int error)
{
    constexpr int kErrorSeen = 0x20;
    file->_flags |= kErrorSeen;
    return Fail(error, std::size_t{0});
}

FaultKind WriteKind(int descriptor)
{
    return descriptor == STDERR_FILENO ? FaultKind::Log : FaultKind::Write;
}

/** What threads wake each other with: eventfd(2) names no error that could occur there. */
bool IsWakeUp(int descriptor, std::size_t size)
{
    if (size != sizeof(std::uint64_t)) {
        return false;
    }
    char link[32];
    char target[32] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    return readlink(link, target, sizeof target - 1) > 0 && std::strstr(target, "eventfd") != nullptr;
}
} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved

extern "C" int open(const char* path, int flags, ...)
{
    REAL(open);
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return IsDue(FaultKind::Open, "open") ? Fail(EMFILE, -1) : real(path, flags, mode);
}

extern "C" int open64(const char* path, int flags, ...)
{
    REAL(open64);
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return IsDue(FaultKind::Open, "open64") ? Fail(EMFILE, -1) : real(path, flags, mode);
}

extern "C" int openat(int folder, const char* path, int flags, ...)
{
    REAL(openat);
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return IsDue(FaultKind::Open, "openat") ? Fail(EMFILE, -1) : real(folder, path, flags, mode);
}

extern "C" int access(const char* path, int mode) noexcept
{
    REAL(access);
    return IsDue(FaultKind::Open, "access") ? Fail(EIO, -1) : real(path, mode);
}

extern "C" std::FILE* fopen(const char* path, const char* mode)
{
    REAL(fopen);
    return IsDue(FaultKind::Open, "fopen") ? Fail(EMFILE, nullptr) : real(path, mode);
}

extern "C" std::FILE* fopen64(const char* path, const char* mode)
{
    REAL(fopen64);
    return IsDue(FaultKind::Open, "fopen64") ? Fail(EMFILE, nullptr) : real(path, mode);
}

extern "C" ssize_t read(int descriptor, void* bytes, std::size_t size)
{
    REAL(read);
    if (IsWakeUp(descriptor, size)) {
        return real(descriptor, bytes, size);
    }
    if (IsDue(FaultKind::Read, "read")) {
        return Fail(EIO, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(FaultKind::Read, "read", Part::Some) ? 1 : size);
}

extern "C" std::size_t fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file)
{
    REAL(fread);
    return IsDue(FaultKind::Read, "fread") ? FailStream(file, EIO) : real(bytes, size, count, file);
}

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t size)
{
    REAL(write);
    if (IsWakeUp(descriptor, size)) {
        return real(descriptor, bytes, size);
    }
    const FaultKind kind = WriteKind(descriptor);
    if (IsDue(kind, "write")) {
        return Fail(ENOSPC, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(kind, "write", Part::Some) ? 1 : size);
}

extern "C" ssize_t writev(int descriptor, const iovec* parts, int count)
{
    REAL(writev);
    if (IsDue(WriteKind(descriptor), "writev")) {
        return Fail(ENOSPC, ssize_t{-1});
    }
    if (count > 0 && IsDue(WriteKind(descriptor), "writev", Part::Some)) {
        const iovec part = {parts->iov_base, parts->iov_len > 0 ? 1U : 0U};
        return real(descriptor, &part, 1);
    }
    return real(descriptor, parts, count);
}

extern "C" std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count, std::FILE* file)
{
    REAL(fwrite);
    return IsDue(FaultKind::Write, "fwrite") ? FailStream(file, ENOSPC) : real(bytes, size, count, file);
}

extern "C" int fsync(int descriptor)
{
    REAL(fsync);
    return IsDue(FaultKind::Fsync, "fsync") ? Fail(EIO, -1) : real(descriptor);
}

extern "C" int rename(const char* from, const char* to) noexcept
{
    REAL(rename);
    return IsDue(FaultKind::Rename, "rename") ? Fail(ENOSPC, -1) : real(from, to);
}

extern "C" int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept
{
    REAL(renameat);
    return IsDue(FaultKind::Rename, "renameat") ? Fail(ENOSPC, -1) : real(fromFolder, from, toFolder, to);
}

extern "C" int unlink(const char* path) noexcept
{
    REAL(unlink);
    return IsDue(FaultKind::Unlink, "unlink") ? Fail(EIO, -1) : real(path);
}

extern "C" int unlinkat(int folder, const char* path, int flags) noexcept
{
    REAL(unlinkat);
    return IsDue(FaultKind::Unlink, "unlinkat") ? Fail(EIO, -1) : real(folder, path, flags);
}

extern "C" int remove(const char* path) noexcept
{
    REAL(remove);
    return IsDue(FaultKind::Unlink, "remove") ? Fail(EIO, -1) : real(path);
}

extern "C" int mkdir(const char* path, mode_t mode) noexcept
{
    REAL(mkdir);
    return IsDue(FaultKind::Mkdir, "mkdir") ? Fail(ENOSPC, -1) : real(path, mode);
}

extern "C" int mkdirat(int folder, const char* path, mode_t mode) noexcept
{
    REAL(mkdirat);
    return IsDue(FaultKind::Mkdir, "mkdirat") ? Fail(ENOSPC, -1) : real(folder, path, mode);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
