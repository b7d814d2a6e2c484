#pragma once

#include "Item.h"
#include "PlainOutput.h"

#include <string>
#include <vector>

namespace DfsOpen
{

/** What an archive was found to be. */
struct ArchiveReport
{
    /** In the manifest's order, then members that it does not list in the archive's. */
    std::vector<Item> items;
    /** What else is wrong, in words for the user, with escaped names. */
    std::vector<std::string> faults;

    /** Whether nothing is missing, damaged, refused or unlisted. */
    bool IsSound() const;
};

/**
 * Reads an archive's manifest, and opens the items that the output wants, in the archive's order. A member that the
 * manifest does not list is a fault, but is opened like the others, so that nothing is lost.
 * @param descriptor an open regular file
 * @param key the recipient's key; without one no plain content is read
 */
ArchiveReport Examine(int descriptor, const PrivateKey& key, const Limits& limits, PlainOutput& output);

} // namespace DfsOpen
