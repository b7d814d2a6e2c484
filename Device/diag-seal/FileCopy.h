#pragma once

#include <cstdint>
#include <string>

namespace DiagSeal
{

/**
 * Copies a regular file to standard output, byte for byte. Blocks, for ever on a dead file system: for a process that
 * can be killed.
 *
 * @param size bytes at most, 1024 or more. Of a longer file the beginning and the end, with the line of MissingLine
 * between them
 * @return the reason why what the size allows is not copied; empty if it is
 * @throws std::runtime_error with the reason, as RegularFile does
 */
std::string CopyFile(const std::string& path, std::uint64_t size);

} // namespace DiagSeal
