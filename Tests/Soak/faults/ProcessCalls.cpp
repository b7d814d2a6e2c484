// Calls for threads, children and memory, in place of the C library's.

#include "FaultPoint.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/syscall.h>
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
    usleep(Control()->moment);
    if (Control()->mode == FaultMode::Leaf) {
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

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved

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
    if (Control()->mode == FaultMode::Error) {
        real(process, nullptr, options); // as the kernel answers when somebody else has collected the child
        return Fail(ECHILD, pid_t{-1});
    }
    const std::uint32_t begin = Microseconds();
    if (Control()->moment != 0) {
        KillChild(process);
    }
    const pid_t result = real(process, status, options);
    Control()->moment = Microseconds() - begin;
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
