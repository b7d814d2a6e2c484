#include "FaultPoint.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
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
} // namespace

FaultControl* Control()
{
    return s_control;
}

bool IsDue(FaultKind kind, const char* function, Part part)
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
