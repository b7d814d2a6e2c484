#pragma once

#include <json/forwards.h>

#include <cstddef>
#include <stdexcept>
#include <string_view>

/**
 * The one reader of JSON texts (RFC 8259). It takes nothing that another reader might take for something else.
 *
 * Besides what is no JSON, it refuses: a byte order mark, a comment, anything behind the value, a member named twice,
 * half a surrogate pair, a number beyond the range of a double. Thread-safe.
 */
namespace StrictJson
{
/** Why a text was refused: one line in UTF-8 of at most 100 bytes. */
class Error : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** How deep lists and objects may nest, whatever the limits. */
inline constexpr int kMostLevels = 255;

/** What a text may cost. A value takes about 100 bytes of memory beside its text. */
struct Limits
{
    std::size_t bytes = std::size_t{16} * 1024 * 1024;
    /** Of lists and objects within each other, at most kMostLevels. */
    int levels = 100;
    /** Numbers, texts, literals, lists, objects and member names, all told. */
    std::size_t values = std::size_t{64} * 1024;
};

/**
 * The value that the text spells, of any kind.
 * @throws Error for a text that is refused, or passes a limit; before memory is taken for its values
 */
Json::Value Parse(std::string_view text, const Limits& limits = Limits());
} // namespace StrictJson
