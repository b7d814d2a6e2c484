#pragma once

#include "Findings.h"

#include <string>
#include <utility>

namespace DfsReport
{

/** What a rule looks at, and where it puts what it found. */
struct Evidence
{
    const Collection& collection;
    const Facts& facts;
    std::vector<Finding>& findings;

    void Add(Weight weight, std::string text, const std::optional<Place>& place = std::nullopt) const
    {
        findings.push_back({weight, std::move(text), place});
    }
};

} // namespace DfsReport
