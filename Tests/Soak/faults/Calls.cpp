// The calls that can be made to fail, in place of the C library's. Long waits are shortened, so that a fault which
// costs a retry does not cost its time.

#include "FaultPoint.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

extern "C" void* __libc_malloc(std::size_t size); // NOLINT(bugprone-reserved-identifier): the C library's

namespace
{
constexpr int kLongWaitMilliseconds = 1000;
constexpr int kSpeed = 100;
constexpr std::size_t kLargeMemory = std::size_t{64} * 1024;

/** The error indicator of ferror(3), as the C library's own functions set it. */
constexpr int kErrorSeen = 0x20;

/** None is what threads wake each other with: eventfd(2) names no error that could occur there. */
FaultKind KindOf(int descriptor, std::size_t size, FaultKind other)
{
    char link[32];
    char target[32] = {};
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const bool isWakeUp = size == sizeof(std::uint64_t) && readlink(link, target, sizeof target - 1) > 0 &&
                          std::strstr(target, "eventfd") != nullptr;
    return isWakeUp ? FaultKind::None : other;
}

pid_t YoungestChild(pid_t process)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/task/%d/children", process, process);
    char text[256] = {};
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDONLY | O_CLOEXEC));
    syscall(SYS_read, file, text, sizeof text - 1);
    close(file);
    pid_t youngest = 0;
    for (char* at = text; *at != '\0'; at += std::strspn(at, " ")) {
        youngest = static_cast<pid_t>(std::strtol(at, &at, 10));
    }
    return youngest;
}

/** Kills the child, or its youngest descendant, at the moment that the driver has set. */
void KillChild(pid_t process)
{
    usleep(s_control->moment);
    if (s_control->mode == FaultMode::Leaf) {
        while (const pid_t child = YoungestChild(process)) {
            process = child;
        }
    }
    kill(process, SIGKILL);
}
} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved
// NOLINTBEGIN(bugprone-macro-parentheses): parameters and arguments bring theirs

/** A call that fails with -1 and the error when it is the turn of its kind, and is the C library's else. */
#define CALL(kind, error, result, name, parameters, arguments)                \
    extern "C" result name parameters                                         \
    {                                                                         \
        return IsDue(FaultKind::kind, error) ? -1 : Next<::name>() arguments; \
    }

// clang-format off
CALL(Open, EIO, int, access, (const char* path, int mode), (path, mode))
CALL(Fsync, EIO, int, fsync, (int file), (file))
CALL(Rename, ENOSPC, int, rename, (const char* from, const char* to), (from, to))
CALL(Rename, ENOSPC, int, renameat, (int a, const char* from, int b, const char* to), (a, from, b, to))
CALL(Unlink, EIO, int, unlink, (const char* path), (path))
CALL(Unlink, EIO, int, unlinkat, (int folder, const char* path, int flags), (folder, path, flags))
CALL(Mkdir, ENOSPC, int, mkdir, (const char* path, mode_t mode), (path, mode))
CALL(Eventfd, EMFILE, int, eventfd, (unsigned int value, int flags), (value, flags))
CALL(Poll, EINTR, int, epoll_wait, (int set, epoll_event* events, int count, int wait), (set, events, count, wait))
CALL(Socket, EMFILE, int, socket, (int domain, int type, int protocol), (domain, type, protocol))
CALL(Socket, EMFILE, int, accept4, (int file, sockaddr* peer, socklen_t* size, int flags), (file, peer, size, flags))
CALL(Connect, ENETUNREACH, int, connect, (int file, const sockaddr* peer, socklen_t size), (file, peer, size))
CALL(Send, ECONNRESET, ssize_t, sendmsg, (int file, const msghdr* message, int flags), (file, message, flags))
CALL(Send, ECONNRESET, ssize_t, send, (int file, const void* bytes, std::size_t size, int flags),
     (file, bytes, Moved(FaultKind::Send, size), flags))
CALL(Receive, ECONNRESET, ssize_t, recvmsg, (int file, msghdr* message, int flags), (file, message, flags))
CALL(Receive, ECONNRESET, ssize_t, recv, (int file, void* bytes, std::size_t size, int flags),
     (file, bytes, Moved(FaultKind::Receive, size), flags))
// clang-format on
// NOLINTEND(bugprone-macro-parentheses)

extern "C" int open(const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return IsDue(FaultKind::Open, EMFILE) ? -1 : Next<::open>()(path, flags, mode);
}

extern "C" int openat(int folder, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return IsDue(FaultKind::Open, EMFILE) ? -1 : Next<::openat>()(folder, path, flags, mode);
}

extern "C" std::FILE* fopen64(const char* path, const char* mode)
{
    return IsDue(FaultKind::Open, EMFILE) ? nullptr : Next<::fopen64>()(path, mode);
}

extern "C" ssize_t read(int descriptor, void* bytes, std::size_t size)
{
    const FaultKind kind = KindOf(descriptor, size, FaultKind::Read);
    return IsDue(kind, EIO) ? -1 : Next<::read>()(descriptor, bytes, Moved(kind, size));
}

extern "C" std::size_t fread(void* bytes, std::size_t size, std::size_t count, std::FILE* file)
{
    if (IsDue(FaultKind::Read, EIO)) {
        file->_flags |= kErrorSeen;
        return 0;
    }
    return Next<::fread>()(bytes, size, count, file);
}

extern "C" ssize_t write(int descriptor, const void* bytes, std::size_t size)
{
    const FaultKind other = descriptor == STDERR_FILENO ? FaultKind::Log : FaultKind::Write;
    const FaultKind kind = KindOf(descriptor, size, other);
    return IsDue(kind, ENOSPC) ? -1 : Next<::write>()(descriptor, bytes, Moved(kind, size));
}

extern "C" int poll(pollfd* entries, nfds_t count, int milliseconds)
{
    const int wait = milliseconds >= kLongWaitMilliseconds ? milliseconds / kSpeed : milliseconds;
    return IsDue(FaultKind::Poll, ENOMEM) ? -1 : Next<::poll>()(entries, count, wait);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                              void* argument) noexcept
{
    return IsDue(FaultKind::Thread, EAGAIN) ? EAGAIN : Next<::pthread_create>()(thread, attributes, body, argument);
}

extern "C" int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[])
{
    return IsDue(FaultKind::Spawn, EAGAIN)
               ? EAGAIN
               : Next<::posix_spawn>()(process, path, actions, attributes, arguments, environment);
}

extern "C" pid_t waitpid(pid_t process, int* status, int options)
{
    const auto next = Next<::waitpid>();
    if (!IsDue(FaultKind::Waitpid, ECHILD)) {
        return next(process, status, options);
    }
    if (s_control->mode == FaultMode::Error) {
        next(process, nullptr, options); // as the kernel answers when somebody else has collected the child
        errno = ECHILD;
        return -1;
    }
    const auto begin = std::chrono::steady_clock::now();
    if (s_control->moment != 0) {
        KillChild(process);
    }
    const pid_t result = next(process, status, options);
    const auto life = std::chrono::steady_clock::now() - begin;
    s_control->moment = std::chrono::duration_cast<std::chrono::microseconds>(life).count();
    return result;
}

extern "C" void* malloc(std::size_t size) noexcept
{
    return size >= kLargeMemory && IsDue(FaultKind::Memory, ENOMEM) ? nullptr : __libc_malloc(size);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
