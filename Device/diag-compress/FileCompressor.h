#pragma once

#include <string>

namespace DiagSeal
{

/**
 * Replaces a regular file by PATH.gz, compressed at the lowest level, as what the service collects is compressed
 * already. PATH.gz appears whole or not at all; it is made as PATH.g~, and an earlier file or link of these names
 * is replaced. Signals to end wait until that is done. Blocks.
 *
 * @throws std::runtime_error with the reason; the file stays as it is then, and nothing of PATH.gz is left
 */
void CompressFile(const std::string& path);

} // namespace DiagSeal
