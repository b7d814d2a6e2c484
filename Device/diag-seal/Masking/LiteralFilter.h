#pragma once

#include "ByteKinds.h"
#include "RequiredTexts.h"

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
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

    /** Takes the text from `from`. It must stay while it is asked for. Returns the patterns that can match in it. */
    Patterns Scan(std::string_view text, std::size_t from);

    /** What can match in the text that was scanned last, from this place on. */
    Patterns CanMatch(std::size_t from) const;

    /**
     * The first place from `from` on where a match of the pattern can begin, or kNowhere: a closer look, for a pattern
     * that can match in the text. `from` never goes back.
     */
    std::size_t NextPlace(std::size_t number, std::size_t from);

    /** Whether a match can begin at these places only, and not behind one before the next. */
    bool HasExactPlaces(std::size_t number) const { return m_leads[number].isExact; }

private:
    static constexpr std::size_t kMaxLists = 3; // for each pattern: the more, the fewer searches are in vain
    static constexpr std::size_t kHashed = 3;   // bytes
    static constexpr std::size_t kBlock = 256;  // bytes
    static constexpr std::size_t kMaxBytes = 32;
    static constexpr std::size_t kHashes = 1 << 15;
    static constexpr std::uint16_t kNone = 0xffff;
    static constexpr std::uint32_t kNoLeading = 0xffffffff;
    static constexpr std::uint32_t kAnyKind = 0xffffffff;

    /** A literal as one pattern requires it. */
    struct Wanted
    {
        std::uint16_t literal;
        std::uint16_t around; ///< the number of what is around it
        bool isFixed;
        std::size_t before;
    };

    /** Of a literal, a pattern that wants it. */
    struct Use
    {
        std::uint16_t pattern;
        std::uint32_t previous; ///< the kinds of bytes that may stand before the literal, as in Around
        std::uint32_t next;     ///< and behind it
        Wanted wanted;
    };

    struct Literal
    {
        std::string text;
        std::array<Patterns, kMaxLists> lists{}; ///< the patterns in whose list it is
        std::vector<Use> leads{};                ///< to the patterns of which it tells a place
        std::size_t first = kNowhere;            ///< where it was found
        std::size_t last = 0;
    };

    /** What rules out most literals without a look at them. */
    struct Key
    {
        std::uint16_t hash = 0;     ///< of the text's beginning
        std::uint16_t next = kNone; ///< literal with the same place in m_first
        std::uint16_t size = 0;
        char last = 0;
    };

    /** Of a pattern, what tells where a match can begin. */
    struct Lead
    {
        bool hasTexts = false;
        std::size_t before = 0;                  ///< bytes, at most
        bool isExact = false;                    ///< each text tells the place exactly
        std::vector<std::vector<Wanted>> behind; ///< lists of which a text has to follow
        std::uint32_t next = kNoLeading;         ///< the first of its texts in the text that was scanned
        std::uint32_t last = kNoLeading;
    };

    /** What stands around a literal. */
    struct Around
    {
        ByteSet previous;
        ByteSet prefix;
        Continuation next;
        std::uint32_t previousKinds; ///< the kinds of `previous`
        std::uint32_t nextKinds;
        std::unique_ptr<ContinuationTable> table{}; ///< made when it is needed first
    };

    struct Hit
    {
        std::size_t place;
        std::uint16_t literal;
    };

    /** A text that tells where a match can begin. */
    struct Leading
    {
        std::uint32_t place; ///< where the text was found
        std::uint32_t next;  ///< of the same pattern
        std::uint32_t before;
        bool isFixed;
        bool hasPrefix;
    };

    struct Byte
    {
        std::uint32_t bit = 0;  ///< in the set of the bytes that are looked for
        std::uint32_t code = 0; ///< 5 bits
    };

    std::uint16_t NumberOf(const std::string& text);
    std::uint16_t NumberOf(char c);
    Wanted WantedOf(const RequiredText& text);
    std::uint32_t HashOf(std::string_view text) const;
    bool IsByte(std::uint16_t literal) const { return m_literals[literal].text.size() == 1; }
    char Folded(char c) const { return m_folded[static_cast<unsigned char>(c)]; }
    bool IsAt(std::size_t place, const Wanted& wanted);
    Patterns FindLeading(const Patterns& patterns);
    static std::size_t BeginOf(const Leading& leading, std::size_t from);
    bool HasOneOf(const std::vector<Wanted>& list, std::size_t from);
    std::vector<Hit>::const_iterator HitsFrom(std::size_t from) const;
    std::uint32_t FindLiterals(std::size_t from);
    void Compare(std::size_t at);

    std::array<Byte, 256> m_bytes;
    std::array<char, 256> m_folded;
    const ByteKinds m_kinds;
    std::array<std::uint64_t, kHashes / 64> m_hashes{}; ///< a bit each: whether a literal has it
    std::array<std::uint16_t, 2048> m_first;            ///< literal by hash
    std::vector<Literal> m_literals;
    std::vector<Key> m_keys;              ///< by literal
    std::vector<std::uint16_t> m_singles; ///< literals of one byte, by bit
    std::string_view m_text;
    std::size_t m_from = 0; ///< where the scan began
    std::vector<std::uint16_t> m_found;
    std::vector<Hit> m_hits; ///< in the order of the text
    std::vector<Around> m_around;
    std::vector<Lead> m_leads; ///< by pattern
    std::vector<Leading> m_leading;
    Patterns m_led;                              ///< the patterns that have one
    Patterns m_unled;                            ///< the patterns that have no texts that tell the place
    std::array<Patterns, kMaxLists> m_without{}; ///< patterns that have no such list
};

} // namespace DiagSeal
