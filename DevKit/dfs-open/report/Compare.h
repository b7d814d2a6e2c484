#pragma once

#include "Collection.h"
#include "Facts.h"
#include "Findings.h"
#include "View.h"

#include <vector>

namespace DfsReport
{

/** An archive, and what it tells. */
struct Archive
{
    Collection collection;
    Facts facts;
    std::vector<Finding> findings;

    /** Whether nothing is missing, damaged, refused or unlisted. */
    bool IsSound() const;
};

/** Sets what the page's template shows of the differences between an archive and another one of the same device. */
void SetComparison(View& page, const Archive& archive, const Archive& other);

} // namespace DfsReport
