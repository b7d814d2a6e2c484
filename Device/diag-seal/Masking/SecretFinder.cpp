#include "SecretFinder.h"

#include "RequiredLiterals.h"

#include <algorithm>
#include <utility>

namespace DiagSeal
{
namespace
{

constexpr std::string_view kWhen = "when";
constexpr int kMaxSize = 10000;                                  // of all patterns, in RE2's instructions: 300 KiB
constexpr std::size_t kMaxAttempts = 8;                          // of a rule on one line
constexpr std::size_t kMaxSearchedTwice = std::size_t{4} * 1024; // bytes of one line

} // namespace

SecretFinder::SecretFinder(std::string_view rules) : m_sections(1)
{
    static_assert(kMaxRules <= LiteralFilter::kMaxPatterns);
    for (MaskRule& rule : ParseRules(rules)) {
        if (rule.name == kWhen) {
            m_sections.push_back({std::move(rule.pattern)});
            continue;
        }
        m_filter.Add(m_entries.size(), RequiredLiterals(rule.pattern));
        m_entries.push_back({RuleSearch(std::move(rule)), m_sections.size() - 1});
    }
    if (m_sections.size() > kMaxSections) {
        throw RuleError("it has more than 7 lines 'when'");
    }
    if (rules != BuiltInRules()) {
        CheckAll();
    }
}

void SecretFinder::CheckAll()
{
    for (Section& section : m_sections) {
        section.expression = std::make_unique<RE2>(section.when, PatternOptions(section.when));
        if (!section.expression->ok()) {
            throw RuleError("a pattern of 'when' is not valid: " + section.expression->error());
        }
    }
    int size = 0;
    for (Entry& entry : m_entries) {
        size += entry.search.Check();
    }
    if (size > kMaxSize) {
        throw RuleError("the patterns are too large together");
    }
    if (m_entries.empty()) {
        throw RuleError("it has no rules");
    }
}

SecretFinder::~SecretFinder() = default;

std::unique_ptr<SecretFinder> SecretFinder::Load(const std::string& path, std::string& notice)
{
    try {
        return std::make_unique<SecretFinder>(ReadRulesFile(path));
    } catch (const RuleError& error) {
        notice = path + " cannot be used, the built-in rules apply: " + error.what();
    }
    return std::make_unique<SecretFinder>(BuiltInRules());
}

void SecretFinder::Begin(std::string_view line, std::size_t from)
{
    m_line = line;
    m_matching.clear();
    m_searchedTwice = 0;
    for (Section& section : m_sections) {
        section.isNeeded.reset();
    }
    const LiteralFilter::Patterns rules = m_filter.Scan(line, from);
    if (rules.none()) { // most lines
        return;
    }
    for (std::size_t i = rules._Find_first(); i < m_entries.size(); i = rules._Find_next(i)) {
        m_entries[i].attempts = 0;
        if (Find(i, from)) {
            m_matching.push_back(&m_entries[i]);
        }
    }
}

/**
 * Finds the next match of a rule. Tries each place where one can begin: most names stand in a line without a value,
 * which is soon seen. Each attempt may go to the end of the line, so there is a bound; then one search takes the rest.
 */
bool SecretFinder::Find(std::size_t number, std::size_t from)
{
    Entry& entry = m_entries[number];
    for (;; ++entry.attempts, ++from) {
        from = m_filter.NextPlace(number, from);
        if (from == LiteralFilter::kNowhere) {
            return false;
        }
        if (!m_filter.HasExactPlaces(number) || entry.attempts == kMaxAttempts) {
            return entry.search.Find(m_line, from);
        }
        if (entry.search.FindAt(m_line, from)) {
            return true;
        }
    }
}

bool SecretFinder::Next(std::size_t from, FoundSecret& found)
{
    const auto isBefore = [from](const Entry* entry) { return entry->search.MatchBegin() < from; };
    if (std::any_of(m_matching.begin(), m_matching.end(), isBefore)) {
        const auto isDone = [&](Entry* entry) {
            return isBefore(entry) && !FindAgain(static_cast<std::size_t>(entry - m_entries.data()), from);
        };
        m_matching.erase(std::remove_if(m_matching.begin(), m_matching.end(), isDone), m_matching.end());
    }
    while (!m_matching.empty()) {
        // Of several at one place this is the first.
        const auto first = std::min_element(m_matching.begin(), m_matching.end(), [](const Entry* a, const Entry* b) {
            return a->search.MatchBegin() < b->search.MatchBegin();
        });
        if (IsNeeded(m_sections[(*first)->section])) {
            found = (*first)->search.Explain(m_line);
            return true;
        }
        m_matching.erase(first);
    }
    return false;
}

/**
 * Finds the next match of a rule whose last one was there before `from`. Long matches that begin within others again
 * and again would take quadratic time: beyond a bound, the rest of such a match is a secret.
 */
bool SecretFinder::FindAgain(std::size_t number, std::size_t from)
{
    RuleSearch& search = m_entries[number].search;
    if (search.MatchEnd() > from && !m_filter.CanMatch(from)[number]) {
        return false;
    }
    m_searchedTwice += search.MatchEnd() - std::min(from, search.MatchEnd());
    if (m_searchedTwice <= kMaxSearchedTwice || search.MatchEnd() <= from) {
        return Find(number, from);
    }
    search.CutMatch(from);
    return search.Rule().name != kKeep;
}

/** Asked only when a rule of the section has matched, which is seldom. */
bool SecretFinder::IsNeeded(Section& section)
{
    if (section.when.empty()) {
        return true;
    }
    if (!section.isNeeded) {
        if (!section.expression) {
            section.expression = std::make_unique<RE2>(section.when, PatternOptions(section.when));
        }
        section.isNeeded = RE2::PartialMatch({m_line.data(), m_line.size()}, *section.expression);
    }
    return *section.isNeeded;
}

} // namespace DiagSeal
