#pragma once

#include "LiteralFilter.h"
#include "MaskRules.h"
#include "RuleSearch.h"

#include <re2/re2.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace DiagSeal
{

/**
 * Finds what the rules match: the leftmost match, and among several at one place that of the rule that stands first.
 *
 * Of each line, one pass says which rules can match in it. These are searched for, each by an automaton of its own,
 * which stays small. So what a line costs follows from the names of secrets in it; most lines have none. Not
 * thread-safe.
 */
class SecretFinder
{
public:
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
    /** The rules from one "when" to the next. */
    struct Section
    {
        std::string when;                  ///< empty for the first section
        std::unique_ptr<RE2> expression{}; ///< made when it is needed first
        std::optional<bool> isNeeded{};    ///< on the line under search
    };

    struct Entry
    {
        RuleSearch search;
        std::size_t section;      ///< its number
        std::size_t attempts = 0; ///< on the line under search, at one place each
    };

    void CheckAll();
    bool IsNeeded(Section& section);
    bool FindAgain(std::size_t number, std::size_t from);
    bool Find(std::size_t number, std::size_t from);

    std::vector<Section> m_sections;
    std::vector<Entry> m_entries;
    LiteralFilter m_filter;
    std::string_view m_line;
    std::size_t m_searchedTwice = 0; ///< bytes of the line
    std::vector<Entry*> m_matching;  ///< those that have a match in the rest of the line, which is the next one
};

} // namespace DiagSeal
