#pragma once

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

/** What libraries share that are loaded before all others, to stand between the service and the C library. */

/** The driver's file SOAK_CONTROL, of that size, mapped. For static initialization; ends a process without the file. */
inline void* MapControl(std::size_t size)
{
    const char* const path = std::getenv("SOAK_CONTROL"); // NOLINT(concurrency-mt-unsafe): there is one thread
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC));
    void* const shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared == MAP_FAILED) {
        std::perror("SOAK_CONTROL");
        _exit(120);
    }
    close(file);
    return shared;
}

/** The function of the next library that the calling one, of the same name, stands for. Thread-safe. */
template <auto Function>
auto Next(const char* name = __builtin_FUNCTION())
{
    static const auto next = reinterpret_cast<decltype(Function)>(dlsym(RTLD_NEXT, name));
    return next;
}
