#pragma once

#include <cstddef>

namespace Http
{
/** What becomes of an answer whose body is longer than its bound. */
enum class LongBody
{
    Cut,    ///< The rest is read and dropped, which is logged; the answer counts as it came.
    Refuse, ///< The exchange fails.
};

/** How much of an answer's body is kept in memory. */
struct BodyBound
{
    std::size_t bytes = std::size_t{16} * 1024 * 1024;
    LongBody longBody = LongBody::Cut;
};
} // namespace Http
