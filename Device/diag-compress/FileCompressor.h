#pragma once

#include <string>

namespace DiagSeal
{

/**
 * Replaces a regular file by PATH.gz. The compression level is the lowest, as what the service collects is compressed
 * already. PATH.gz appears whole or not at all: it is written as PATH.g~ and renamed. An earlier file or link of these
 * names is replaced. HUP, INT and TERM are blocked meanwhile.
 *
 * @throws std::runtime_error with the reason; the file stays as it is then, and PATH.gz does not appear, unless
 * the file itself cannot be removed
 *
 * Blocks.
 */
void CompressFile(const std::string& path);

} // namespace DiagSeal
