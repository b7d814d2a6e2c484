#pragma once

#include <string>
#include <string_view>

namespace DiagSeal
{

/**
 * Changes text on its way from a command to its sealed form, piece by piece.
 *
 * One object filters one item, and itself bounds what it holds back between two calls. Not thread-safe.
 */
class TextFilter
{
public:
    TextFilter() = default;
    TextFilter(const TextFilter&) = delete;
    TextFilter& operator=(const TextFilter&) = delete;
    virtual ~TextFilter() = default;

    /** Takes the next bytes, split anywhere, and appends to `out` what can be passed on by now. */
    virtual void Feed(std::string_view bytes, std::string& out) = 0;

    /** Appends to `out` what was held back. The last call. */
    virtual void Finish(std::string& out) = 0;
};

} // namespace DiagSeal
