#pragma once

#include "WallClock.h"

#include <cstdint>
#include <string>

/** The arithmetic of the token store: when a token expires, and how long until it should be refreshed. The
 *  current time comes in as an argument. Thread-safe. */
namespace JwtUtils
{
/** Times between the years 1677 and 2262. */
using WallClock::TimePoint;

/** How long before it expires a token should be refreshed, in seconds. */
inline constexpr std::uint32_t kRefreshMargin = 300;

/** Whole seconds since the epoch, rounded towards it. */
std::int64_t ToSeconds(TimePoint time);

/** That many seconds since the epoch, or the nearest time that a TimePoint holds. */
TimePoint FromSeconds(std::int64_t seconds);

/** The time that many seconds after that one, or the latest that a TimePoint holds. */
TimePoint Later(TimePoint time, std::uint32_t seconds);

/**
 * The number that a side file's text begins with, in decimal, after white space; text behind it does not count.
 *
 * @throws std::invalid_argument when it begins with no number
 * @throws std::out_of_range when the number does not fit
 */
std::int64_t ParseSeconds(const std::string& text);

/** As above, as a time. @throws std::out_of_range also when it is no time that a TimePoint holds */
TimePoint ParseTime(const std::string& text);

/**
 * Seconds from now until a token should be refreshed that expires then: the whole seconds until then less the margin,
 * 0 when the margin has begun or the token has expired.
 *
 * The whole seconds until then count as a number of 32 bits: what exceeds it (136 years) is lost, deliberate. @{
 */
std::uint32_t RefreshDelay(TimePoint expiration, TimePoint now);
std::uint32_t RefreshDelay(std::int64_t expirationSeconds, std::int64_t nowSeconds);
/** @} */

/** As ctime(3) writes the time, in local time and with its line feed; the number where the C library has no date. */
std::string DateText(std::int64_t seconds);
} // namespace JwtUtils
