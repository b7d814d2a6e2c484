#pragma once

#include <cstddef>
#include <string>

/** Texts from outside, fit for a terminal: none of their bytes is a command to it. Thread-safe. */
namespace Escape
{

/**
 * A text: control characters but line feed and tab, and bytes that are no UTF-8 (RFC 3629), become \xNN. So do the
 * second half of the control characters, U+0080 to U+009F, which some terminals obey.
 */
std::string Text(const std::string& text);

/** How many bytes of a name are shown: more than a file's name has. */
constexpr std::size_t kLongestName = 256;

/**
 * A name, for one line: everything but printable ASCII becomes \xNN, a backslash two, and what is beyond the longest
 * length, in bytes, "...".
 */
std::string Name(const std::string& name, std::size_t longest = kLongestName);

} // namespace Escape
