#pragma once

#include "Limits.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace DfsReport
{

/** Archives of a folder that are listed. */
constexpr std::size_t kMostArchives = 10000;

/**
 * Lists the folder's archives, the files named *.tar.gz, by name: time, device, version, findings, file. Each is opened
 * in turn; one that cannot be opened has a line that says so.
 *
 * @param isJson an object a line rather than columns
 * @return whether every archive could be opened and is whole
 * @throws std::invalid_argument with one line for the user when the folder or the key cannot be read, or there is no
 * archive
 */
bool List(const std::string& folder, const std::optional<std::string>& key, const DfsOpen::Limits& limits, bool isJson,
          std::ostream& out);

} // namespace DfsReport
