#pragma once

#include "Collection.h"

#include <string>
#include <string_view>
#include <vector>

namespace DfsReport
{

/** Sections of one item that are looked at. */
constexpr std::size_t kMostSections = 1000;

/** A part of an item: what a tool printed, or a file's content. Points into the item's document. */
struct Section
{
    std::size_t document = 0; ///< Index of the item.
    std::string_view title;   ///< Such as "/proc/meminfo" or "file systems"; of an item without sections, its sub-type.
    std::string_view body;
    std::size_t firstLine = 1; ///< The number of the body's first line in the item.
};

/**
 * The parts of an item. Each begins with a line such as "==> TITLE <==". Devices with earlier scripts begin all of them
 * with "==== TITLE ====". Without such a line, the whole item.
 */
std::vector<Section> Sections(const Document& document, std::size_t index);

} // namespace DfsReport
