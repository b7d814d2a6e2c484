#pragma once

#include "Limits.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace DfsOpen
{

enum class Action
{
    kList,    //!< Show what the archive holds.
    kExtract, //!< Write every item's plain content into a folder, and show.
    kCat,     //!< Write the plain content of the items of one sub-type to the output.
    kHelp,
};

struct Options
{
    Action action = Action::kList;
    std::string archive;
    std::optional<std::string> key; //!< Path of the private key.
    std::string folder;             //!< For kExtract.
    std::string subType;            //!< For kCat.
    Limits limits;
};

/**
 * Reads the command line without the program's name. Not to be called by two threads at a time.
 *
 * @throws std::invalid_argument with one line for the user
 */
Options ParseOptions(std::vector<std::string> arguments);

/** The program's exit statuses. */
enum class ExitStatus
{
    kWhole = 0,  //!< Nothing is missing or damaged in what was asked for.
    kFaulty = 1, //!< Something is; what was sound was delivered all the same.
    kCannot = 2, //!< Nothing was looked at: bad options, or a file or folder that cannot be opened.
};

/**
 * Does what the options ask for.
 *
 * @param out takes the table, or the content that kCat asks for
 * @param err takes errors, and with kCat what was found wrong
 */
ExitStatus Run(const Options& options, std::ostream& out, std::ostream& err);

} // namespace DfsOpen
