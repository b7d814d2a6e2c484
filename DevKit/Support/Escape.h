#pragma once

#include <cstddef>
#include <string>

/** Makes texts from outside fit for a terminal: none of their bytes is a command to it. Thread-safe. */
namespace Escape
{

/**
 * For a text of several lines: \xNN takes the place of bytes that are no UTF-8 (RFC 3629), and of all control
 * characters but line feed and tab, those from U+0080 to U+009F included.
 */
std::string Text(const std::string& text);

/** In bytes; a file's name is shorter. */
constexpr std::size_t kLongestName = 256;

/**
 * For a name in a line: \xNN takes the place of all but printable ASCII, two backslashes that of one, and "..." that of
 * what is beyond the longest length.
 */
std::string Name(const std::string& name, std::size_t longest = kLongestName);

} // namespace Escape
