#pragma once

#include <cstddef>
#include <functional>
#include <string>

/** Takes a line without its end. Called by one thread at a time, but not always by the same one. */
using LineWriter = std::function<void(const std::string& line)>;

/** Writes an event's line, if there is a writer: the time, UTC to the millisecond (RFC 3339), and the text. */
void WriteEvent(const LineWriter& writer, const std::string& text);

/**
 * Makes a text from outside fit for a line of the log: "?" takes the place of all but printable ASCII, and "..." that
 * of what is beyond the longest length, in bytes. Thread-safe.
 */
std::string Printable(const std::string& text, std::size_t longest = 200);
