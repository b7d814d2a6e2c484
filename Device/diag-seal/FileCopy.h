#pragma once

#include <cstdint>
#include <string>

namespace DiagSeal
{

/**
 * Copies a regular file to standard output, byte for byte. May block for ever on a dead file system: for a process that
 * can be killed.
 *
 * @param size bytes at most, 1024 or more: of a longer file the first and the last half, and the line between them
 * @return nothing when all is copied, or what the size allows; else the reason
 * @throws std::runtime_error with the reason, as RegularFile does
 */
std::string CopyFile(const std::string& path, std::uint64_t size);

} // namespace DiagSeal
