#pragma once

#include "Compare.h"
#include "Limits.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace DfsReport
{

/** What is asked for. */
struct Options
{
    std::string archive;
    std::optional<std::string> key;   ///< Path of the private key.
    std::string page;                 ///< Path of the page; one that is there is replaced.
    std::optional<std::string> other; ///< An archive to compare with.
    DfsOpen::Limits limits;
};

/** Opens an archive and finds what it tells. @throws std::invalid_argument as Collect */
Archive Read(const std::string& path, const DfsOpen::PrivateKey& key, const DfsOpen::Limits& limits);

/**
 * Writes the page of an archive, whatever is wrong with it. The page appears as a whole, or not at all.
 *
 * @param out takes a line with the number of findings
 * @return whether nothing is missing, damaged, refused or unlisted
 * @throws std::invalid_argument with one line for the user: an archive or key cannot be opened, or the page not written
 */
bool Run(const Options& options, std::ostream& out);

} // namespace DfsReport
