#pragma once

#include "MaskRules.h"

#include <re2/re2.h>

#include <array>
#include <cstddef>
#include <memory>
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
 * Its pattern is compiled when it is needed first: most rules are not needed in a run. It takes 20 KiB at first and
 * more with each line that is unlike those before, up to a bound that PatternOptions sets. Not thread-safe.
 */
class RuleSearch
{
public:
    explicit RuleSearch(MaskRule rule) : m_rule(std::move(rule)) {}

    const MaskRule& Rule() const { return m_rule; }

    /** The size of the pattern, in RE2's instructions. Throws RuleError if it cannot be used. */
    int Check();

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

    void Compile();
    bool Match(std::string_view line, std::size_t begin, RE2::Anchor anchor, int count);

    MaskRule m_rule;
    std::unique_ptr<RE2> m_expression;
    int m_valueGroup = 0; ///< the number of the group "value", or 0
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::array<re2::StringPiece, 1 + kMaxGroups> m_groups; ///< of the match, if they are known
    bool m_knowsGroups = false;
    bool m_isCut = false;
    bool m_hasMatched = true; ///< FindAt, the last time
};

} // namespace DiagSeal
