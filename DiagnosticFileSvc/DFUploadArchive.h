#pragma once

#include <optional>
#include <string>

/** The file that an upload sends. */
namespace DiagnosticFileSvc
{
/** The MD5 of a file, 32 lower-case hexadecimal digits; nothing when the file cannot be read whole. Blocks. */
std::optional<std::string> CalculateMD5Checksum(const std::string& path);

/**
 * The content of a file in one piece; nothing when the file cannot be read whole. Takes as much memory as the file: the
 * script that packs the archive bounds it to 160 MiB. Blocks.
 */
std::optional<std::string> ReadArchive(const std::string& path);
} // namespace DiagnosticFileSvc
