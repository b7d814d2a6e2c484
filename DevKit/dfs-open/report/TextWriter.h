#pragma once

#include "View.h"

#include <cstddef>
#include <set>
#include <string_view>

namespace DfsReport
{

/** A line of an item. */
struct Place
{
    std::size_t document = 0; ///< Index of the item.
    std::size_t line = 1;     ///< From 1; 0 for the item as a whole.

    bool operator<(const Place& other) const
    {
        return document != other.document ? document < other.document : line < other.line;
    }
};

/** The target of links to a place, such as "i3-L120", or "i3" for an item. */
std::string Anchor(const Place& place);

/**
 * Writes an item's text as blocks of rows with their line numbers. A browser lays out only the blocks that are seen, so
 * that a text of 16 MiB is there at once.
 *
 * A row has at most 2000 bytes: a longer line goes on in further rows without a number. A block has at most 200 rows
 * and starts with the attribute data-first, the number of its first line.
 *
 * @param linked the lines of this item that get a target of links of their own; the page's script finds the others
 */
void WriteText(std::size_t document, std::string_view text, const std::set<std::size_t>& linked, const PageSink& page);

} // namespace DfsReport
