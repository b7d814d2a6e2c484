#pragma once

#include "MaskRules.h"

#include <re2/re2.h>

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace DiagSeal
{

/**
 * How patterns are compiled. Lines are bytes: what a command prints need not be UTF-8. Letters match in either case. A
 * pattern may take at least 64 KiB, and 1.25 KiB for each of its bytes.
 */
RE2::Options PatternOptions(std::string_view pattern);

/** A place in a line that a rule matches. Offsets are into the line. */
struct FoundSecret
{
    const MaskRule* rule = nullptr;
    std::size_t matchBegin = 0;
    std::size_t matchEnd = 0;
    std::size_t begin = 0; ///< of what is to be replaced
    std::size_t end = 0;   ///< the same as `begin` if nothing is
};

/**
 * Searches lines for the matches of one rule, in linear time.
 *
 * If the pattern can be matched in one pass, one search at a place finds the match and its groups. Of other patterns
 * RE2 finds where a match ends several times as fast as what its groups hold. So a rule of that kind that is searched
 * for often is split: the head's end is where the tail begins, and of most tails the group is known from where they
 * begin and end, or they can be matched in one pass.
 *
 * Patterns are compiled when they are needed first: most rules are not needed in a run. Each takes 20 KiB at first and
 * more with each line that is unlike those before, up to a bound that PatternOptions sets. Not thread-safe.
 */
class RuleSearch
{
public:
    explicit RuleSearch(MaskRule rule) : m_rule(std::move(rule)) {}

    const MaskRule& Rule() const { return m_rule; }

    /** The size of the pattern, in RE2's instructions. Throws RuleError if it cannot be used. */
    int Check() const;

    /** Finds the leftmost match of the line that begins at `from` or behind it. */
    bool Find(std::string_view line, std::size_t from);

    /** Finds the match of the line that begins at `place`: cheaper than Find. */
    bool FindAt(std::string_view line, std::size_t place);

    /** Of the match that was found last. */
    std::size_t MatchBegin() const { return m_begin; }
    std::size_t MatchEnd() const { return m_end; }

    /** Lets that match begin at `place`; the secret is all that is left of it. */
    void CutMatch(std::size_t place)
    {
        m_begin = place;
        m_isCut = true;
    }

    /** Which part of that match is the secret. */
    FoundSecret Explain(std::string_view line);

private:
    static constexpr int kMaxGroups = 4; ///< what RE2's one-pass search can tell apart

    using Groups = std::array<re2::StringPiece, 1 + kMaxGroups>; ///< the first is the match

    struct Expression
    {
        explicit Expression(std::string_view pattern);

        /** Finds the match at `begin`. Of a pattern that is matched in one pass, sets all groups, else only the match.
         */
        bool MatchAt(std::string_view line, std::size_t begin, Groups& found) const;

        bool isOnePass;
        RE2 compiled;
        int groups = 0;
        int valueGroup = 0; ///< the number of the group "value", or 0
    };

    struct PartExpressions
    {
        Expression head;
        Expression tail;
        std::optional<std::size_t> sizeBehindGroup;
    };

    enum class PartsResult
    {
        None,
        Match,
        Unknown
    };

    const Expression& Whole();
    const PartExpressions* Parts();
    void Take(std::size_t begin, std::size_t end, const Expression* grouped, std::size_t groupedBegin);
    PartsResult MatchParts(std::string_view line, std::size_t place);
    bool FindGroups(std::string_view line);

    MaskRule m_rule;
    std::unique_ptr<const Expression> m_whole;
    std::unique_ptr<const PartExpressions> m_parts;
    int m_searches = 0;
    bool m_isSplit = false; ///< m_parts are there if they can be
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    const Expression* m_grouped = nullptr; ///< what finds the groups of the match, if that is known
    std::size_t m_groupedBegin = 0;        ///< and where it matches
    Groups m_groups;
    bool m_knowsGroups = false; ///< m_groups are those of the match
    bool m_isCut = false;
};

} // namespace DiagSeal
