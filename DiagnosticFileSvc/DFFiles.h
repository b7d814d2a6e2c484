#pragma once

#include "DPrint.h"

#include <string>

/** How the service reads and removes files of its own. */
namespace DiagnosticFileSvc
{
/**
 * The content of a file of the service's own, at most kMaxOwnFileSize. Empty when there is none to be read; a file that
 * is too large is logged under the operation's name.
 *
 * Blocks.
 */
std::string ReadOwnFile(const DPrint& log, const char* operation, const std::string& path);

/**
 * Removes a file, and never a folder, see unlink(2). A path without a file name is left alone. A file that is there and
 * cannot be removed is logged under the operation's name.
 *
 * Blocks.
 */
void RemoveFile(const DPrint& log, const char* operation, const std::string& path);
} // namespace DiagnosticFileSvc
