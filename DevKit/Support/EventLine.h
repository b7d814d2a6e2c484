#pragma once

#include <cstddef>
#include <functional>
#include <string>

/** Takes one line without its end. Called by one thread at a time, but not always by the same one. */
using LineWriter = std::function<void(const std::string& line)>;

/** What begins the line of an event: the time, UTC to the millisecond (RFC 3339), and a blank. Any thread may call. */
std::string TimeOfDay();

/**
 * What was sent to a server, fit for a line of its log: it must neither break the line nor reach the terminal as a
 * command to it. Any thread may call.
 *
 * @param longest bytes that are kept; "..." tells that there were more
 */
std::string Printable(const std::string& text, std::size_t longest = 200);
