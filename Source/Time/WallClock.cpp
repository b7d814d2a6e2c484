#include "WallClock.h"

#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace WallClock
{
namespace
{
// gmtime_r(3) takes a time_t.
std::tm Utc(std::int64_t seconds)
{
    constexpr std::int64_t kSecondsPerDay = 86400;
    constexpr std::int64_t kDaysPerCycle = 146097; // of 400 years
    constexpr std::int64_t kEpoch = 719468;        // days from 0000-03-01 to 1970-01-01

    std::int64_t days = seconds / kSecondsPerDay - (seconds % kSecondsPerDay < 0 ? 1 : 0);
    const auto second = static_cast<int>(seconds - days * kSecondsPerDay);
    std::tm utc{};
    utc.tm_hour = second / 3600;
    utc.tm_min = second / 60 % 60;
    utc.tm_sec = second % 60;

    // Counted from a first of March, a leap day is the last of its year.
    days += kEpoch;
    const std::int64_t cycle = days / kDaysPerCycle;
    const auto day = static_cast<int>(days % kDaysPerCycle);
    const int year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
    const int dayOfYear = day - (365 * year + year / 4 - year / 100);
    // From March on: 0 is March.
    const int month = (5 * dayOfYear + 2) / 153;
    utc.tm_mday = dayOfYear - (153 * month + 2) / 5 + 1;
    utc.tm_mon = (month + 2) % 12;
    utc.tm_year = static_cast<int>(cycle * 400) + year + (month >= 10 ? 1 : 0) - 1900;
    return utc;
}
} // namespace

TimePoint Unwrapped(TimePoint reading)
{
    constexpr std::chrono::seconds kWrap{std::int64_t{1} << 32};
    return reading.time_since_epoch().count() < 0 ? reading + kWrap : reading;
}

TimePoint Now()
{
#ifdef SYS_clock_gettime64
    // Of the C libraries with a 32-bit time_t, one wraps beyond 2038, and glibc 2.31 fails. Linux has this since 5.1.
    struct
    {
        std::int64_t seconds, nanoseconds;
    } now{};
    if (syscall(SYS_clock_gettime64, CLOCK_REALTIME, &now) == 0) {
        return TimePoint(std::chrono::seconds(now.seconds) + std::chrono::nanoseconds(now.nanoseconds));
    }
#endif
    return Unwrapped(std::chrono::system_clock::now());
}

std::int64_t Seconds()
{
    return std::chrono::duration_cast<std::chrono::seconds>(Now().time_since_epoch()).count();
}

std::string Text(const char* format, std::int64_t seconds)
{
    const std::tm utc = Utc(seconds);
    char text[64];
    return {text, std::strftime(text, sizeof text, format, &utc)};
}
} // namespace WallClock
