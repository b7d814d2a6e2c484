#include "RuleSearch.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kShort = 256; // bytes

bool IsNameCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.' || c == '-';
}

/**
 * Whether a value that begins at `begin` goes on to the end of its line: "psk = my pass phrase", "TOKEN=two words", and
 * "service[9]: psk=my pass phrase".
 */
bool IsRestOfLine(std::string_view line, std::size_t begin)
{
    if (line[begin] == '"' || line[begin] == '\'' || line[begin] == '\\') {
        return false;
    }
    std::string_view before = line.substr(0, begin);
    before = before.substr(0, before.find_last_not_of(" \t") + 1);
    if (before.size() < begin) {
        return true;
    }
    before = before.substr(0, before.find_last_not_of("=:>") + 1);
    while (!before.empty() && IsNameCharacter(before.back())) {
        before.remove_suffix(1);
    }
    const bool beginsMessage = before.size() > 1 && before.substr(before.size() - 2) == ": ";
    if (beginsMessage) {
        return true;
    }
    static constexpr std::string_view kAssignments[] = {"", "export", "set", "setenv", "-", "+", "+ export"};
    const std::size_t first = std::min(before.find_first_not_of(" \t"), before.size());
    before = before.substr(first, before.find_last_not_of(" \t") + 1 - first);
    return std::find(std::begin(kAssignments), std::end(kAssignments), before) != std::end(kAssignments);
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

void RuleSearch::Compile()
{
    m_expression = std::make_unique<RE2>(m_rule.pattern, PatternOptions(m_rule.pattern));
    const auto& names = m_expression->NamedCapturingGroups();
    const auto value = names.find("value");
    m_valueGroup = value == names.end() ? 0 : value->second;
}

int RuleSearch::Check()
{
    Compile();
    const std::string pattern = "the pattern '" + m_rule.name + " " + m_rule.pattern.substr(0, 80) + "' ";
    if (!m_expression->ok()) {
        throw RuleError(pattern + "is not valid: " + m_expression->error());
    }
    if (m_expression->NumberOfCapturingGroups() > kMaxGroups) {
        throw RuleError(pattern + "has more than 4 groups");
    }
    if (RE2::PartialMatch("", *m_expression)) {
        throw RuleError(pattern + "matches an empty text");
    }
    const int size = m_expression->ProgramSize();
    m_expression.reset();
    return size;
}

bool RuleSearch::Find(std::string_view line, std::size_t from)
{
    if (!m_expression) {
        Compile();
    }
    return Match(line, from, RE2::UNANCHORED, 1);
}

bool RuleSearch::FindAt(std::string_view line, std::size_t place)
{
    if (!m_expression) {
        Compile();
    }
    // With groups, RE2 takes longer for each byte, but Explain need not ask again. Most attempts end as the last one
    // did.
    const bool withGroups = m_hasMatched && line.size() - place <= kShort && m_rule.name != kKeep;
    m_hasMatched = Match(line, place, RE2::ANCHOR_START, withGroups ? 1 + m_expression->NumberOfCapturingGroups() : 1);
    return m_hasMatched;
}

bool RuleSearch::Match(std::string_view line, std::size_t begin, RE2::Anchor anchor, int count)
{
    m_knowsGroups = count > 1;
    m_isCut = false;
    if (!m_expression->Match({line.data(), line.size()}, begin, line.size(), anchor, m_groups.data(), count)) {
        return false;
    }
    m_begin = static_cast<std::size_t>(m_groups[0].data() - line.data());
    m_end = m_begin + m_groups[0].size();
    return true;
}

FoundSecret RuleSearch::Explain(std::string_view line)
{
    FoundSecret found{&m_rule, m_begin, m_end, m_end, m_end};
    if (m_rule.name == kKeep) {
        return found;
    }
    const int count = 1 + m_expression->NumberOfCapturingGroups();
    found.begin = m_begin; // if nothing says more: without groups, and when RE2 is out of memory
    if (count == 1 || m_isCut) {
        return found;
    }
    if (!m_knowsGroups) {
        // One byte on each side is what "^", "$" and "\\b" look at: a short text is what RE2 is fast on.
        const std::size_t before = m_begin - std::min<std::size_t>(m_begin, 1);
        const re2::StringPiece text(line.data() + before, std::min(m_end + 1, line.size()) - before);
        m_knowsGroups =
            m_expression->Match(text, m_begin - before, m_end - before, RE2::ANCHOR_BOTH, m_groups.data(), count);
    }
    if (!m_knowsGroups) {
        return found;
    }
    found.begin = m_end;
    for (int i = 1; i < count; ++i) {
        const re2::StringPiece group = m_groups[static_cast<std::size_t>(i)];
        if (!group.empty()) {
            found.begin = static_cast<std::size_t>(group.data() - line.data());
            found.end = found.begin + group.size();
            if (i == m_valueGroup && IsRestOfLine(line, found.begin)) {
                found.end = found.matchEnd = line.size();
            }
            break;
        }
    }
    return found;
}

} // namespace DiagSeal
