#include "RuleSearch.h"

#include "Characters.h"
#include "PatternSplit.h"
#include "RequiredLiterals.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace DiagSeal
{
namespace
{

// Two more patterns are compiled for a rule only if it is searched for often.
constexpr int kSearchesBeforeSplit = 16;

bool IsNameCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.' || c == '-';
}

/**
 * Where a text ends that a quote opens, or the line if nothing closes it. A quote before a letter or digit is part of
 * the text: "it's".
 *
 * @param escapes the backslashes that stand before each of its quotes
 */
std::size_t EndOfQuoted(std::string_view line, std::size_t from, char quote, std::size_t escapes)
{
    for (std::size_t at = from; (at = line.find(quote, at)) != std::string_view::npos; ++at) {
        const std::size_t end = line.find_last_not_of('\\', at - 1) + 1;
        const bool isInside = at + 1 < line.size() && IsWord(line[at + 1]);
        if (at - end <= escapes && !isInside) {
            return end;
        }
    }
    return line.size();
}

/**
 * Where a value ends that is found at [begin, end). It goes on to the end of its line in "psk = my pass phrase",
 * "TOKEN=two words" and "service[9]: psk=my pass phrase", and to the quote in '"psk=my pass phrase"'.
 */
std::size_t EndOfValue(std::string_view line, std::size_t begin, std::size_t end)
{
    if (line[begin] == '"' || line[begin] == '\'') {
        const bool goesOn = end < line.size() && IsWord(line[end]);
        return goesOn ? std::min(EndOfQuoted(line, end, line[begin], 0) + 1, line.size()) : end;
    }
    if (line[begin] == '\\') {
        return end;
    }
    std::string_view before = line.substr(0, begin);
    before = before.substr(0, before.find_last_not_of(" \t") + 1);
    if (before.size() < begin) {
        return line.size();
    }
    before = before.substr(0, before.find_last_not_of("=:>") + 1);
    const bool hasName = !before.empty() && IsNameCharacter(before.back());
    while (!before.empty() && IsNameCharacter(before.back())) {
        before.remove_suffix(1);
    }
    if (hasName && !before.empty() && (before.back() == '"' || before.back() == '\'')) {
        const char quote = before.back();
        before.remove_suffix(1);
        return EndOfQuoted(line, begin, quote, before.size() - (before.find_last_not_of('\\') + 1));
    }
    const bool beginsMessage = before.size() > 1 && before.substr(before.size() - 2) == ": ";
    if (beginsMessage) {
        return line.size();
    }
    static constexpr std::string_view kAssignments[] = {"", "export", "set", "setenv", "-", "+", "+ export"};
    const std::size_t first = std::min(before.find_first_not_of(" \t"), before.size());
    before = before.substr(first, before.find_last_not_of(" \t") + 1 - first);
    const bool beginsLine =
        std::find(std::begin(kAssignments), std::end(kAssignments), before) != std::end(kAssignments);
    return beginsLine ? line.size() : end;
}

/** RE2 searches in one pass only if it is asked for a group, so there has to be one. */
std::string WithGroup(std::string_view pattern, bool isOnePass)
{
    const bool needsGroup = isOnePass && !HasGroups(pattern);
    return (needsGroup ? "(" : "") + std::string(pattern) + (needsGroup ? ")" : "");
}

} // namespace

RE2::Options PatternOptions(std::string_view pattern)
{
    // The longer a pattern, the more states its automaton has. With too few in its memory it makes them again and
    // again.
    constexpr std::size_t kLeast = std::size_t{64} * 1024;
    const std::size_t memory = std::max(kLeast, std::size_t{16} * 1024 + 1280 * pattern.size());
    RE2::Options options;
    options.set_encoding(RE2::Options::EncodingLatin1);
    options.set_case_sensitive(false);
    options.set_log_errors(false);
    options.set_max_mem(static_cast<std::int64_t>(memory));
    return options;
}

RuleSearch::Expression::Expression(std::string_view pattern)
    : isOnePass(IsOnePass(pattern)),
      compiled(WithGroup(pattern, isOnePass), PatternOptions(pattern)),
      groups(compiled.NumberOfCapturingGroups())
{
    const auto& names = compiled.NamedCapturingGroups();
    const auto value = names.find("value");
    valueGroup = value == names.end() ? 0 : value->second;
}

bool RuleSearch::Expression::MatchAt(std::string_view line, std::size_t begin, Groups& found) const
{
    return compiled.Match({line.data(), line.size()}, begin, line.size(), RE2::ANCHOR_START, found.data(),
                          isOnePass ? 1 + groups : 1);
}

int RuleSearch::Check() const
{
    const Expression whole(m_rule.pattern);
    const std::string pattern = "the pattern '" + m_rule.name + " " + m_rule.pattern.substr(0, 80) + "' ";
    if (!whole.compiled.ok()) {
        throw RuleError(pattern + "is not valid: " + whole.compiled.error());
    }
    if (whole.groups > kMaxGroups) {
        throw RuleError(pattern + "has more than 4 groups");
    }
    if (RE2::PartialMatch("", whole.compiled)) {
        throw RuleError(pattern + "matches an empty text");
    }
    return whole.compiled.ProgramSize();
}

const RuleSearch::Expression& RuleSearch::Whole()
{
    if (!m_whole) {
        m_whole = std::make_unique<const Expression>(m_rule.pattern);
    }
    return *m_whole;
}

const RuleSearch::PartExpressions* RuleSearch::Parts()
{
    if (m_searches < kSearchesBeforeSplit) {
        ++m_searches;
    } else if (!m_isSplit) {
        m_isSplit = true;
        const auto split = m_rule.name == kKeep || Whole().isOnePass ? std::nullopt : Split(m_rule.pattern);
        if (split) {
            m_parts.reset(
                new PartExpressions{Expression(split->head), Expression(split->tail), split->sizeBehindGroup});
            m_whole.reset(); // seldom needed from now on, and large
            m_grouped = nullptr;
        }
    }
    return m_parts.get();
}

void RuleSearch::Take(std::size_t begin, std::size_t end, const Expression* grouped, std::size_t groupedBegin)
{
    m_begin = begin;
    m_end = end;
    m_isCut = false;
    m_grouped = grouped;
    m_groupedBegin = groupedBegin;
    m_knowsGroups = grouped != nullptr && grouped->isOnePass;
}

bool RuleSearch::Find(std::string_view line, std::size_t from)
{
    if (m_rule.pattern.front() == '^' && Parts() != nullptr) { // without alternatives that begin otherwise
        return from == 0 && FindAt(line, 0);
    }
    re2::StringPiece match;
    if (!Whole().compiled.Match({line.data(), line.size()}, from, line.size(), RE2::UNANCHORED, &match, 1)) {
        return false;
    }
    const auto begin = static_cast<std::size_t>(match.data() - line.data());
    Take(begin, begin + match.size(), nullptr, 0);
    return true;
}

bool RuleSearch::FindAt(std::string_view line, std::size_t place)
{
    const PartsResult result = MatchParts(line, place);
    if (result != PartsResult::Unknown) {
        return result == PartsResult::Match;
    }
    const Expression& whole = Whole();
    if (!whole.MatchAt(line, place, m_groups)) {
        return false;
    }
    Take(place, place + m_groups[0].size(), whole.isOnePass ? &whole : nullptr, place);
    return true;
}

/** Finds the match at `place`, part by part. */
RuleSearch::PartsResult RuleSearch::MatchParts(std::string_view line, std::size_t place)
{
    const PartExpressions* parts = Parts();
    if (parts == nullptr) {
        return PartsResult::Unknown;
    }
    if (!parts->head.MatchAt(line, place, m_groups)) {
        return PartsResult::None;
    }
    const std::size_t tailBegin = place + m_groups[0].size();
    if (!parts->tail.MatchAt(line, tailBegin, m_groups)) {
        return PartsResult::Unknown;
    }
    Take(place, tailBegin + m_groups[0].size(), &parts->tail, tailBegin);
    return PartsResult::Match;
}

/** Finds the groups of the match that was found last. */
bool RuleSearch::FindGroups(std::string_view line)
{
    const std::size_t end = m_end;
    if (m_grouped == nullptr && (MatchParts(line, m_begin) != PartsResult::Match || m_end != end)) {
        m_end = end;
        m_grouped = &Whole();
        m_groupedBegin = m_begin;
        m_knowsGroups = false;
    }
    if (m_knowsGroups) {
        return true;
    }
    if (m_parts && m_grouped == &m_parts->tail && m_parts->sizeBehindGroup) {
        m_groups[1].set(line.data() + m_groupedBegin, m_end - m_groupedBegin - *m_parts->sizeBehindGroup);
        return true;
    }
    // One byte on each side is what "^", "$" and "\\b" look at: a short text is what RE2 is fast on.
    const std::size_t before = m_groupedBegin - std::min<std::size_t>(m_groupedBegin, 1);
    const std::string_view text = line.substr(before, m_end + 1 - before);
    return m_grouped->compiled.Match({text.data(), text.size()}, m_groupedBegin - before, m_end - before,
                                     RE2::ANCHOR_BOTH, m_groups.data(), 1 + m_grouped->groups);
}

FoundSecret RuleSearch::Explain(std::string_view line)
{
    FoundSecret found{&m_rule, m_begin, m_end, m_end, m_end};
    if (m_rule.name == kKeep) {
        return found;
    }
    found.begin = m_begin; // if nothing says more: without groups, and when RE2 is out of memory
    const bool hasGroups = (m_parts ? m_parts->tail : Whole()).groups > 0;
    if (!hasGroups || m_isCut || !FindGroups(line)) {
        return found;
    }
    found.begin = m_end;
    for (int i = 1; i <= m_grouped->groups; ++i) {
        const re2::StringPiece group = m_groups[static_cast<std::size_t>(i)];
        if (!group.empty()) {
            found.begin = static_cast<std::size_t>(group.data() - line.data());
            found.end = found.begin + group.size();
            if (i == m_grouped->valueGroup) {
                found.end = found.matchEnd = EndOfValue(line, found.begin, found.end);
            }
            break;
        }
    }
    return found;
}

} // namespace DiagSeal
