#pragma once

#include "Limits.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace DfsOpen
{

/** What is asked for; with neither folder nor sub-type, a list of the items. */
struct Options
{
    std::string archive;
    std::optional<std::string> key;     ///< Path of the private key.
    std::optional<std::string> folder;  ///< Write every item's plain content into it, and list.
    std::optional<std::string> subType; ///< Write the plain content of the items of that sub-type to the output.
    Limits limits;
};

/**
 * Does what the options ask for. What is sound is delivered, whatever else is not.
 * @param out takes the table, or the content of a sub-type
 * @param err takes, with a sub-type, what was found wrong
 * @return whether nothing is missing or damaged in what was asked for
 * @throws std::invalid_argument with one line for the user when a file or folder cannot be opened
 */
bool Run(const Options& options, std::ostream& out, std::ostream& err);

} // namespace DfsOpen
