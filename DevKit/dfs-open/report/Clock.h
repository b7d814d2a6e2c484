#pragma once

#include "Facts.h"

#include <optional>
#include <string>
#include <string_view>

/** Times as devices print them. Thread-safe. */
namespace DfsReport::Clock
{

constexpr Seconds kMinute = 60;
constexpr Seconds kHour = 60 * kMinute;
constexpr Seconds kDay = 24 * kHour;

/** "2026-11-18T03:12:07Z", and with "+0100" or "+01:00" at its end; what is behind is left alone. */
std::optional<Seconds> FromIso(std::string_view text);

/**
 * "Nov 20 22:14:03", a log's time without a year: the last such time that is at most a day after the one given. What is
 * behind is left alone.
 */
std::optional<Seconds> FromLog(std::string_view text, Seconds collected);

/** "Sun Nov 22 01:16:29 UTC 2026", of date(1) in the C locale. */
std::optional<Seconds> FromDate(std::string_view text);

/** The digits in a name such as "dfs_top_20261122011629.txt", which the device writes by its clock. */
std::optional<Seconds> FromFileName(std::string_view name);

/** "2026-11-22 01:16:29"; years from 1 to 9999, otherwise "an impossible time". */
std::string Text(Seconds time);

/** "2 days 3 h", "6 h 8 min" or "42 s". */
std::string Duration(Seconds time);

} // namespace DfsReport::Clock
