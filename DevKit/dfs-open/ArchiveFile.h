#pragma once

#include "FileDescriptor.h"

#include <string>

namespace DfsOpen
{

/**
 * Opens a regular file for reading; never waits for another program.
 *
 * @throws std::invalid_argument with one line for the user when that is not possible
 */
FileDescriptor OpenArchive(const std::string& path);

} // namespace DfsOpen
