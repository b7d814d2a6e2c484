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

/** The program's exit statuses. */
enum class ExitStatus
{
    kWhole = 0,  ///< Nothing is missing or damaged in what was asked for.
    kFaulty = 1, ///< Something is; what was sound was delivered all the same.
    kCannot = 2, ///< Nothing was looked at: bad options, or a file or folder that cannot be opened.
};

/**
 * Does what the options ask for.
 *
 * @param out takes the table, or the content of a sub-type
 * @param err takes errors, and with a sub-type what was found wrong
 */
ExitStatus Run(const Options& options, std::ostream& out, std::ostream& err);

} // namespace DfsOpen
