#include "Preload.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

// NOLINTBEGIN(concurrency-mt-unsafe): before there is another thread

void* MapControl(std::size_t size)
{
    const char* const program = std::getenv("FAULT_PROGRAM");
    const char* const path = std::getenv("FAULT_CONTROL");
    if (program == nullptr || path == nullptr || std::strcmp(program, program_invocation_short_name) != 0) {
        return nullptr;
    }
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC));
    void* const shared = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (file < 0 || shared == MAP_FAILED) {
        std::perror(path);
        _exit(120);
    }
    close(file);
    unsetenv("LD_PRELOAD");
    return shared;
}

// NOLINTEND(concurrency-mt-unsafe)
