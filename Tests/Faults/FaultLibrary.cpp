// Loaded into the service before all other libraries: makes one call go wrong, the one that the driver picks. It also
// shortens long waits, so that a fault which costs a retry does not cost its time.

#include "FaultControl.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace
{
constexpr std::size_t kLargeMemory = 64 * 1024;
constexpr int kLongWaitMilliseconds = 1000;
constexpr int kSpeed = 100;

/** Null in every process but the one under test. */
FaultControl* s_control = nullptr;

__attribute__((constructor)) void Attach()
{
    const char* const program = std::getenv("FAULT_PROGRAM");
    const char* const path = std::getenv("FAULT_CONTROL");
    if (program == nullptr || path == nullptr || std::strcmp(program, program_invocation_short_name) != 0) {
        return;
    }
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC));
    void* const shared = mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (file < 0 || shared == MAP_FAILED) {
        std::perror(path);
        _exit(120);
    }
    close(file);
    // What the process starts is not under test.
    unsetenv("LD_PRELOAD");
    s_control = static_cast<FaultControl*>(shared);
}

enum class Part
{
    Whole,
    Some
};

/** Counts the call, and says whether it is the one that goes wrong. */
bool IsDue(FaultKind kind, const char* function, Part part = Part::Whole)
{
    if (s_control == nullptr) {
        return false;
    }
    const bool isShort = part == Part::Some;
    const std::uint32_t count = ++s_control->counts[isShort ? 1 : 0][static_cast<std::size_t>(kind)];
    if (s_control->kind != kind || isShort != (s_control->mode == FaultMode::Short) || count != s_control->failAt) {
        return false;
    }
    std::strncpy(s_control->function, function, sizeof s_control->function - 1);
    if (s_control->mode == FaultMode::Kill) {
        syscall(SYS_kill, getpid(), SIGKILL);
    }
    return true;
}

template <class Result>
Result Fail(int error, Result result)
{
    errno = error;
    return result;
}

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

std::uint32_t Microseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1'000'000 + now.tv_nsec / 1000);
}
} // namespace

// The next library's function of that name.
#define REAL(name) static const auto real = reinterpret_cast<decltype(&::name)>(dlsym(RTLD_NEXT, #name))

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

extern "C" int pipe(int ends[2]) noexcept
{
    REAL(pipe);
    return IsDue(FaultKind::Pipe, "pipe") ? Fail(EMFILE, -1) : real(ends);
}

extern "C" int pipe2(int ends[2], int flags) noexcept
{
    REAL(pipe2);
    return IsDue(FaultKind::Pipe, "pipe2") ? Fail(EMFILE, -1) : real(ends, flags);
}

extern "C" int eventfd(unsigned int value, int flags) noexcept
{
    REAL(eventfd);
    return IsDue(FaultKind::Eventfd, "eventfd") ? Fail(EMFILE, -1) : real(value, flags);
}

extern "C" int poll(pollfd* entries, nfds_t count, int milliseconds)
{
    REAL(poll);
    if (IsDue(FaultKind::Poll, "poll")) {
        return Fail(ENOMEM, -1);
    }
    return real(entries, count, milliseconds >= kLongWaitMilliseconds ? milliseconds / kSpeed : milliseconds);
}

extern "C" int epoll_wait(int descriptor, epoll_event* events, int count, int milliseconds)
{
    REAL(epoll_wait);
    return IsDue(FaultKind::Poll, "epoll_wait") ? Fail(EINTR, -1) : real(descriptor, events, count, milliseconds);
}

extern "C" int socket(int domain, int type, int protocol) noexcept
{
    REAL(socket);
    return IsDue(FaultKind::Socket, "socket") ? Fail(EMFILE, -1) : real(domain, type, protocol);
}

extern "C" int accept(int descriptor, sockaddr* address, socklen_t* size)
{
    REAL(accept);
    return IsDue(FaultKind::Socket, "accept") ? Fail(EMFILE, -1) : real(descriptor, address, size);
}

extern "C" int accept4(int descriptor, sockaddr* address, socklen_t* size, int flags)
{
    REAL(accept4);
    return IsDue(FaultKind::Socket, "accept4") ? Fail(EMFILE, -1) : real(descriptor, address, size, flags);
}

extern "C" int connect(int descriptor, const sockaddr* address, socklen_t size)
{
    REAL(connect);
    return IsDue(FaultKind::Connect, "connect") ? Fail(ENETUNREACH, -1) : real(descriptor, address, size);
}

extern "C" ssize_t send(int descriptor, const void* bytes, std::size_t size, int flags)
{
    REAL(send);
    if (IsDue(FaultKind::Send, "send")) {
        return Fail(ECONNRESET, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(FaultKind::Send, "send", Part::Some) ? 1 : size, flags);
}

extern "C" ssize_t sendmsg(int descriptor, const msghdr* message, int flags)
{
    REAL(sendmsg);
    return IsDue(FaultKind::Send, "sendmsg") ? Fail(ECONNRESET, ssize_t{-1}) : real(descriptor, message, flags);
}

extern "C" ssize_t recv(int descriptor, void* bytes, std::size_t size, int flags)
{
    REAL(recv);
    if (IsDue(FaultKind::Receive, "recv")) {
        return Fail(ECONNRESET, ssize_t{-1});
    }
    return real(descriptor, bytes, size > 1 && IsDue(FaultKind::Receive, "recv", Part::Some) ? 1 : size, flags);
}

extern "C" ssize_t recvmsg(int descriptor, msghdr* message, int flags)
{
    REAL(recvmsg);
    return IsDue(FaultKind::Receive, "recvmsg") ? Fail(ECONNRESET, ssize_t{-1}) : real(descriptor, message, flags);
}

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*),
                              void* argument) noexcept
{
    REAL(pthread_create);
    return IsDue(FaultKind::Thread, "pthread_create") ? EAGAIN : real(thread, attributes, body, argument);
}

extern "C" int posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[])
{
    REAL(posix_spawn);
    return IsDue(FaultKind::Spawn, "posix_spawn") ? EAGAIN
                                                  : real(process, path, actions, attributes, arguments, environment);
}

extern "C" int posix_spawnp(pid_t* process, const char* file, const posix_spawn_file_actions_t* actions,
                            const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[])
{
    REAL(posix_spawnp);
    return IsDue(FaultKind::Spawn, "posix_spawnp") ? EAGAIN
                                                   : real(process, file, actions, attributes, arguments, environment);
}

extern "C" pid_t waitpid(pid_t process, int* status, int options)
{
    REAL(waitpid);
    if (!IsDue(FaultKind::Waitpid, "waitpid")) {
        return real(process, status, options);
    }
    if (s_control->mode == FaultMode::Error) {
        return Fail(ECHILD, pid_t{-1});
    }
    const std::uint32_t begin = Microseconds();
    if (s_control->moment != 0) {
        KillChild(process);
    }
    const pid_t result = real(process, status, options);
    s_control->moment = Microseconds() - begin;
    return result;
}

extern "C" void* malloc(std::size_t size) noexcept
{
    return size >= kLargeMemory && IsDue(FaultKind::Memory, "malloc") ? Fail<void*>(ENOMEM, nullptr)
                                                                      : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept
{
    const bool isLarge = size != 0 && count >= (kLargeMemory + size - 1) / size;
    return isLarge && IsDue(FaultKind::Memory, "calloc") ? Fail<void*>(ENOMEM, nullptr) : __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) noexcept
{
    return size >= kLargeMemory && IsDue(FaultKind::Memory, "realloc") ? Fail<void*>(ENOMEM, nullptr)
                                                                       : __libc_realloc(memory, size);
}
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
