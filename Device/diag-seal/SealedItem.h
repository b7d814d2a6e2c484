#pragma once

#include "BoundedOutput.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace DiagSeal
{

class Sealer;
class TextFilter;

/**
 * One item: passes content through a filter and a bound to the sealer, and adds lines on how it has ended. Not
 * thread-safe.
 */
class SealedItem
{
public:
    /**
     * @param filter changes the content; nullptr passes it byte for byte. Must outlive this object, as the sealer must.
     * @param size the bound on the content, after the filter
     */
    SealedItem(TextFilter* filter, std::uint64_t size, Sealer& sealer);

    /** Adds content. @throws std::runtime_error with the reason when the output cannot be written */
    void Write(std::string_view bytes);

    bool IsEmpty() const { return m_isEmpty; }

    /** Ends the item with these lines, each with its line break; may be empty. The last call. @throws as Write does */
    void Finish(const std::string& lines);

private:
    void Seal(std::string_view bytes);

    TextFilter* m_filter;
    Sealer& m_sealer;
    BoundedOutput m_bounded;
    std::string m_filtered; ///< Between two calls only its memory is kept.
    bool m_isEmpty = true;
    bool m_isAtLineStart = true;
};

} // namespace DiagSeal
