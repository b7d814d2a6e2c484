#pragma once

#include "StdioFile.h"

#include <string>

/** Small files that are read as a whole and replaced as a whole. A file that fails throws nothing: the log tells
 * why. Thread-safe. */
namespace JwtUtils
{
/**
 * The whole content of a file; empty when it cannot be opened. When reading fails, what has been read until then. Of a
 * file that is larger than maxSize, one byte more than that. Never waits: of a pipe it takes what is in it at the
 * moment, of a folder nothing.
 */
std::string ReadFileStr(const std::string& path, std::size_t maxSize = Files::kMaxFileSize);

/**
 * Replaces a file, or makes it with mode 0600. A reader sees the old content or the new one, meanwhile as well as after
 * a power cut. The data goes to the path with ".tmp" at its end first, in one write(2), and to the
 * storage medium (fsync(2)), before it gets the file's name (rename(2)). The temporary file is always a new one with
 * mode 0600: what has its name is removed, and a link that has it is not followed. One writer of a path at a time.
 *
 * @return true when the file holds exactly the data. False when not: the file is as it was, and nothing is left of the
 *         temporary one. Empty data is refused: an empty file is never written.
 */
bool WriteFileStr(const std::string& path, const std::string& data);
} // namespace JwtUtils
