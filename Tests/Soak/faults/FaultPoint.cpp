#include "FaultPoint.h"

#include "Preload.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
FaultControl* MapHere()
{
    // What the process starts is not under test.
    unsetenv("LD_PRELOAD"); // NOLINT(concurrency-mt-unsafe): there is one thread
    return static_cast<FaultControl*>(MapControl(sizeof(FaultControl)));
}

FaultControl* const s_control = MapHere();

bool HasItsTurn(FaultKind kind, bool isShort, const char* function)
{
    if (s_control == nullptr || kind == FaultKind::None) {
        return false;
    }
    const std::uint32_t count = ++s_control->counts[isShort ? 1 : 0][static_cast<std::size_t>(kind)];
    if (s_control->kind != kind || isShort != (s_control->mode == FaultMode::Short) || count != s_control->failAt) {
        return false;
    }
    std::strncpy(s_control->function, function, sizeof s_control->function - 1);
    return true;
}
} // namespace

FaultControl* Control()
{
    return s_control;
}

bool IsDue(FaultKind kind, int error, const char* function)
{
    if (!HasItsTurn(kind, false, function)) {
        return false;
    }
    if (s_control->mode == FaultMode::Kill) {
        syscall(SYS_kill, getpid(), SIGKILL);
    }
    errno = error;
    return true;
}

std::size_t Moved(FaultKind kind, std::size_t size, const char* function)
{
    return size > 1 && HasItsTurn(kind, true, function) ? 1 : size;
}
