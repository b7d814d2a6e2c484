#include "FaultPoint.h"

#include <csignal>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
FaultControl* const s_control = static_cast<FaultControl*>(MapControl(sizeof(FaultControl)));
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
