#pragma once

#include "Facts.h"
#include "View.h"

#include <vector>

namespace DfsReport
{

/** A rectangle of a drawn row, or of the legend. */
struct Segment
{
    const char* kind;            ///< A class of the page's style; kinds differ by their pattern, too.
    double begin = 0, width = 0; ///< In percent of the row.
};

/** The charts of bars, for the page's template: memory, file systems, processors, processes, network. Thread-safe. */
std::vector<View> Charts(const Facts& facts);

/** Sets what a link needs: "href" and "hasHref". */
View& Link(View& view, const std::optional<Place>& place);

} // namespace DfsReport
