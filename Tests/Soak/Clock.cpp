// Clocks that the driver moves: that of the day, for the process and its children; and each clock of the threads that
// libcurl works on, with their waits by it, so that hours pass in milliseconds and in the right order. Other threads
// speak with programs that have the machine's clock, and keep it.

#include "Preload.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <poll.h>

using std::chrono::steady_clock;

namespace
{
/** What driver and library share, a file. The driver knows the offsets. */
struct ClockControl
{
    /** By how many seconds the clock of the day is ahead, and by how many milliseconds the clocks of libcurl. */
    std::atomic<std::int64_t> shift;
    std::atomic<std::int64_t> skipped;

    /** Waits between exchanges so far, and the length of the latest, in milliseconds. */
    std::atomic<std::uint32_t> waits;
    std::atomic<std::int32_t> length;
};
static_assert(sizeof(ClockControl) == 24);

/** How long a wait sleeps, in milliseconds, before it looks at the clock again. */
constexpr int kSlice = 2;

/** Null while libraries ask for the time that are loaded before this one. */
ClockControl* const s_control = static_cast<ClockControl*>(MapControl(sizeof(ClockControl)));
thread_local bool s_isMoved = false;
} // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's are reserved

/** libcurl's, with the types of its calling convention alone. */
extern "C" int curl_easy_perform(void* handle)
{
    s_isMoved = true;
    return Next<::curl_easy_perform>()(handle);
}

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    const int result = Next<::clock_gettime>()(clock, now);
    if (result == 0 && s_control != nullptr) {
        const bool isOfDay = clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE;
        const std::int64_t milliseconds = (s_isMoved ? s_control->skipped.load() : 0) + now->tv_nsec / 1'000'000;
        now->tv_sec += (isOfDay ? s_control->shift.load() : 0) + milliseconds / 1000;
        now->tv_nsec = milliseconds % 1000 * 1'000'000 + now->tv_nsec % 1'000'000;
    }
    return result;
}

extern "C" int poll(pollfd* entries, nfds_t count, int milliseconds)
{
    const auto next = Next<::poll>();
    if (!s_isMoved || milliseconds <= 0) {
        return next(entries, count, milliseconds);
    }
    // The library asks the function above, so that this is the clock that is moved.
    const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    // libcurl polls what wakes it up as well as its sockets.
    if (count == 1) {
        s_control->length = milliseconds;
        ++s_control->waits;
    }
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - steady_clock::now()).count();
        const int result = next(entries, count, static_cast<int>(std::clamp<std::int64_t>(left, 0, kSlice)));
        if (result != 0 || left <= 0) {
            return result;
        }
    }
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
