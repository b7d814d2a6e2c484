#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/**
 * The system's time and its calendar, which do not end in 2038 where time_t has 32 bits: the product's C library has no
 * other. Depends on the standard library only. Thread-safe.
 */
namespace WallClock
{
using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

/**
 * What a reading of the system's clock means. Linux sets no clock before 1970 (clock_settime(2)): a reading from before
 * is one of 2038 or later whose upper bits are lost. Holds until 2106.
 */
TimePoint Unwrapped(TimePoint reading);

TimePoint Now();

/** Now, in whole seconds since the epoch. */
std::int64_t Seconds();

/**
 * A time of the years 0 to 9999 in UTC, by the Gregorian calendar.
 *
 * @param format as for strftime(3): %Y %m %d %H %M %S, and %F and %T, which are made of these
 * @return empty when the text has 64 bytes or more
 */
std::string Text(const char* format, std::int64_t seconds);
} // namespace WallClock
