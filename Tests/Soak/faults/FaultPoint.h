#pragma once

#include "Preload.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

/** The calls that can be made to fail. The driver writes their numbers, so their order is the one of its list. */
enum class FaultKind : std::uint32_t
{
    None,
    Open,
    Read,
    Write,
    Log,
    Fsync,
    Rename,
    Unlink,
    Mkdir,
    Eventfd,
    Poll,
    Socket,
    Connect,
    Send,
    Receive,
    Thread,
    Spawn,
    Waitpid,
    Memory,
    Count
};

/** What happens at the call whose turn it is. */
enum class FaultMode : std::uint32_t
{
    Error, ///< it fails with the error that its kind is likely to meet
    Short, ///< it moves one byte; for reads and writes only
    Kill,  ///< the process is killed in its place
    Child, ///< the child that it waits for is killed meanwhile; for Waitpid only
    Leaf,  ///< the same with the youngest of that child's descendants
};

/**
 * What driver and library share: a file that the library maps and the driver reads and writes. The driver writes
 * `kind` last, which begins the counting anew, and None to end it.
 */
struct FaultControl
{
    std::atomic<FaultKind> kind;
    std::atomic<FaultMode> mode;

    /** The call that goes wrong, counted from 1. */
    std::atomic<std::uint32_t> failAt;

    /** When a child is killed, in microseconds after the wait for it began. The library writes how long that took. */
    std::atomic<std::uint32_t> moment;

    /** Name of the function that went wrong; empty until then. */
    char function[32];

    /** Calls of each kind so far: all of them, and those that could have been short. */
    std::atomic<std::uint32_t> counts[2][static_cast<std::size_t>(FaultKind::Count)];
};
static_assert(sizeof(FaultControl) == 200, "the driver knows the offsets");

/** What the driver shares with the process; null while libraries are loaded. */
inline FaultControl* const s_control = [] {
    // What the process starts is not under test.
    unsetenv("LD_PRELOAD"); // NOLINT(concurrency-mt-unsafe): there is one thread
    return static_cast<FaultControl*>(MapControl(sizeof(FaultControl)));
}();

/** Counts the call, and says whether it is the one that goes wrong; the driver then knows its name. Thread-safe. */
inline bool HasItsTurn(FaultKind kind, bool isShort, const char* function)
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

/**
 * Counts the call of the function that asks, and says whether it is the one that goes wrong; errno is then that error.
 * In mode Kill that ends the process. Thread-safe.
 */
inline bool IsDue(FaultKind kind, int error, const char* function = __builtin_FUNCTION())
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

/** Of so many bytes those that the call is to move: one if it is the one that is short. Thread-safe. */
inline std::size_t Moved(FaultKind kind, std::size_t size, const char* function = __builtin_FUNCTION())
{
    return size > 1 && HasItsTurn(kind, true, function) ? 1 : size;
}
