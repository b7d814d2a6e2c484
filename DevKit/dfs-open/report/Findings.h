#pragma once

#include "Collection.h"
#include "Facts.h"

#include <optional>
#include <string>
#include <vector>

namespace DfsReport
{

enum class Weight
{
    Serious,
    Warning,
    Notice,
};

/** What a finding is about: the tile that it colours. */
enum class Subject
{
    Archive,
    Memory,
    Storage,
    Load,
    Network,
    Log,
    Crashes,
    Update,
    Clock,
};

/** Something out of the ordinary. */
struct Finding
{
    Weight weight = Weight::Notice;
    std::string text;           ///< What was found, in words for the reader.
    std::optional<Place> place; ///< Where to read on.
    std::string rule = {};      ///< By what rule, in words for the reader.
    Subject subject = Subject::Archive;
};

/** What the rules say of an archive, the most serious first; rules of one weight in the order of their table. */
std::vector<Finding> Find(const Collection& collection, const Facts& facts);

} // namespace DfsReport
