#pragma once

#include "RequiredTexts.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

/**
 * Says which patterns can match in a text: those of which it holds what each of their matches holds. One pass over the
 * text, whatever it is.
 *
 * Texts of three bytes or more are looked up by a hash of their first three, and then compared. Of a shorter one, only
 * one byte is looked for. Not thread-safe.
 */
class LiteralFilter
{
public:
    static constexpr std::size_t kMaxPatterns = 128;
    static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
    using Patterns = std::bitset<kMaxPatterns>;

    LiteralFilter();

    /** @param required what each match of pattern `number` holds; empty if that is not known */
    void Add(std::size_t number, const RequiredLists& required);

    /** Takes the text from `from`. */
    void Scan(std::string_view text, std::size_t from);

    /** What can match in the text that was scanned last, from this place on. */
    Patterns CanMatch(std::size_t from) const;

    /** Before this place no match of the pattern begins; kNowhere if none does at all. For a pattern that can match in
     * the whole of the text: a closer look. */
    std::size_t FirstPlace(std::size_t number) const;

    /** Whether all matches of a pattern begin with a text that is looked for. */
    bool HasExactPlaces(std::size_t number) const
    {
        return !m_leads[number].literals.empty() && m_leads[number].before == 0;
    }

    /** Of a pattern whose places are exact, the next one from `from` on, or kNowhere. */
    std::size_t NextPlace(std::size_t number, std::size_t from) const;

private:
    static constexpr std::size_t kMaxLists = 3; // for each pattern: the more, the fewer searches are in vain
    static constexpr std::size_t kHashed = 3;   // bytes
    static constexpr std::size_t kMaxBytes = 32;
    static constexpr std::size_t kHashes = 1 << 15;
    static constexpr std::uint16_t kNone = 0xffff;

    struct Literal
    {
        std::string text;
        std::array<Patterns, kMaxLists> lists{}; ///< the patterns in whose list it is
        Patterns begun{};                        ///< the patterns whose matches begin with a text of its list
        std::size_t first = kNowhere;            ///< where it was found
        std::size_t last = 0;
        std::uint16_t next = kNone; ///< with the same place in m_first
    };

    /** Of a pattern, the literals that tell where a match can begin. */
    struct Lead
    {
        std::vector<std::uint16_t> literals;
        std::size_t before = 0;                         ///< bytes
        std::vector<std::vector<std::uint16_t>> behind; ///< lists of which a literal has to follow
    };

    struct Hit
    {
        std::size_t place;
        std::uint16_t literal;
    };

    struct Byte
    {
        std::uint32_t bit = 0; ///< in the set of the bytes that are looked for
        std::uint8_t code = 0; ///< 5 bits
        char folded = 0;
    };

    std::uint16_t NumberOf(const std::string& text);
    std::uint16_t NumberOf(char c);
    std::uint32_t HashOf(std::string_view text) const;
    bool IsByte(std::uint16_t literal) const { return m_literals[literal].text.size() == 1; }
    bool HasOneOf(const std::vector<std::uint16_t>& literals, std::size_t from) const;
    void Compare(std::string_view text, std::size_t at, std::uint32_t hash);

    std::array<Byte, 256> m_bytes;
    std::array<std::uint64_t, kHashes / 64> m_hashes{}; ///< a bit each: whether a literal has it
    std::array<std::uint16_t, 512> m_first;             ///< literal by hash
    std::vector<Literal> m_literals;
    std::vector<std::uint16_t> m_singles; ///< literals of one byte, by bit
    std::string_view m_text;
    std::vector<std::uint16_t> m_found;
    std::vector<Hit> m_hits;                     ///< of the literals that begin matches, in the order of the text
    std::vector<Lead> m_leads;                   ///< by pattern
    std::array<Patterns, kMaxLists> m_without{}; ///< patterns that have no such list
};

} // namespace DiagSeal
