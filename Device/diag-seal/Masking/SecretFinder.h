#pragma once

#include "MaskRules.h"

#include <re2/re2.h>
#include <re2/set.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

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
 * Finds what the rules match: the leftmost match, and among several at one place that of the rule that stands first.
 *
 * The rules of a section, from one "when" to the next, are searched for together, by one automaton in linear time: so
 * the automata stay small whatever the text. A rule of its own is only looked at to say which part of a match is the
 * secret. Memory: at most kSectionMemory for each section that was needed and kRuleMemory for each rule that has
 * matched. Not thread-safe.
 */
class SecretFinder
{
public:
    /** bytes */
    static constexpr int kSectionMemory = 512 * 1024;
    static constexpr int kRuleMemory = 512 * 1024;

    static constexpr std::size_t kMaxSections = 8;

    /** @param rules the text of a rules file. Throws RuleError. */
    explicit SecretFinder(std::string_view rules);
    ~SecretFinder();

    /**
     * The rules of the file, or the built-in ones if they cannot be used; then `notice` is set to a line without line
     * break that says so. Blocks.
     */
    static std::unique_ptr<SecretFinder> Load(const std::string& path, std::string& notice);

    /**
     * Begins with a line, which must stay while it is searched.
     *
     * @param from what stands before counts for "^" and "\b" only
     */
    void Begin(std::string_view line, std::size_t from);

    /** The next match of the line that begins at `from` or behind it; `from` never goes back. */
    bool Next(std::size_t from, FoundSecret& found);

private:
    struct Entry
    {
        MaskRule rule;
        std::unique_ptr<RE2> expression; ///< made when it is needed first: most lines match no rule
        int valueGroup = 0;              ///< the number of its group "value", or 0
    };

    struct Section
    {
        std::vector<Entry> entries;
        std::unique_ptr<RE2> any; ///< made when it is needed first
        bool hasMore = false;     ///< the line under search has a match, which follows
        std::size_t matchBegin = 0;
        std::size_t matchEnd = 0;
    };

    void CheckAll();
    static void MakeExpression(Entry& entry);
    void Search(Section& section, std::size_t from);
    void Explain(Section& section, FoundSecret& found);
    bool Explain(Entry& entry, FoundSecret& found);

    std::vector<Section> m_sections; ///< the first one has no "when"
    std::unique_ptr<RE2::Set> m_when;
    std::vector<int> m_needed; ///< sections but for the first; a member for its memory
    std::string_view m_line;
};

} // namespace DiagSeal
