// Shifts the clock of the day, as clock_gettime(2) tells it, by what the driver writes: for a process that runs with
// this library before all others, and for its children. Other clocks run on as they are.

#include "Preload.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{
/** Seconds, in the driver's file. Libraries ask for the time before it is mapped. */
const std::atomic<std::int64_t>* s_shift = nullptr;

__attribute__((constructor)) void Attach()
{
    const char* const path = std::getenv("FAULT_CONTROL"); // NOLINT(concurrency-mt-unsafe): there is one thread
    const int file = path == nullptr ? -1 : open(path, O_RDONLY | O_CLOEXEC);
    void* const shared = mmap(nullptr, sizeof *s_shift, PROT_READ, MAP_SHARED, file, 0);
    if (shared == MAP_FAILED) {
        _exit(120);
    }
    close(file);
    s_shift = static_cast<const std::atomic<std::int64_t>*>(shared);
}
} // namespace

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's are reserved
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept
{
    REAL(clock_gettime);
    const int result = real(clock, now);
    if (result == 0 && s_shift != nullptr && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) {
        now->tv_sec += *s_shift;
    }
    return result;
}
