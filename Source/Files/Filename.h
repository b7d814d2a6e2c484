#pragma once

#include <string>

namespace Files
{
/** The text after the last "/" of a path, or all of it; empty when the path names no file. Thread-safe. */
std::string FilenameOf(const std::string& path);
} // namespace Files
