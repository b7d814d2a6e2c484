#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace DiagSeal
{

/** A pattern in two: the head names a secret, the tail holds it. */
struct PatternSplit
{
    std::string_view head; ///< has no group that counts
    std::string_view tail; ///< all groups that count

    /** If the tail is one group and a text behind it, the size of that text in bytes. */
    std::optional<std::size_t> sizeBehindGroup;
};

/**
 * Splits a pattern of RE2's before the first part that holds a group. Nothing is returned if the pattern begins with
 * that part, or is no plain sequence of parts. The pattern need not be valid; the result points into it. Thread-safe.
 *
 * The head's match at a place is the one that RE2 prefers. So if the tail matches behind it, both together are what the
 * pattern matches at the place. If it does not, another match of the head may still lead to one of the pattern.
 */
std::optional<PatternSplit> Split(std::string_view pattern);

/** Whether the pattern has a group that counts. As Split, it takes any text. Thread-safe. */
bool HasGroups(std::string_view pattern);

} // namespace DiagSeal
