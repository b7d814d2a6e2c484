#include "SecretFinder.h"

#include <algorithm>
#include <cctype>

namespace DiagSeal
{
namespace
{

constexpr int kMaxGroups = 4; // what RE2's one-pass search can tell apart
constexpr std::string_view kWhen = "when";

/** Lines are bytes: what a command prints need not be UTF-8. */
RE2::Options Options(int memory)
{
    RE2::Options options;
    options.set_encoding(RE2::Options::EncodingLatin1);
    options.set_case_sensitive(false);
    options.set_log_errors(false);
    options.set_max_mem(memory);
    return options;
}

bool IsNameCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.' || c == '-';
}

std::unique_ptr<RE2> Compile(const MaskRule& rule)
{
    auto expression = std::make_unique<RE2>(rule.pattern, Options(SecretFinder::kRuleMemory));
    if (expression->ok() && expression->NumberOfCapturingGroups() == 0) {
        expression = std::make_unique<RE2>("(" + rule.pattern + ")", Options(SecretFinder::kRuleMemory));
    }
    return expression;
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

/** One automaton for the patterns of all entries. It only finds where a match is. */
template <typename Entries>
std::unique_ptr<RE2> CompileAny(const Entries& entries)
{
    RE2::Options options = Options(SecretFinder::kSectionMemory);
    options.set_never_capture(true);
    std::string any;
    for (const auto& entry : entries) {
        any.append(any.empty() ? "(?:" : "|(?:").append(entry.rule.pattern).append(")");
    }
    return std::make_unique<RE2>(any, options);
}

void Check(const RE2& expression, const MaskRule& rule)
{
    const std::string pattern = "the pattern '" + rule.name + " " + rule.pattern.substr(0, 80) + "' ";
    if (!expression.ok()) {
        throw RuleError(pattern + "is not valid: " + expression.error());
    }
    if (expression.NumberOfCapturingGroups() > kMaxGroups) {
        throw RuleError(pattern + "has more than 4 groups");
    }
    if (RE2::PartialMatch("", expression)) {
        throw RuleError(pattern + "matches an empty text");
    }
}

} // namespace

SecretFinder::SecretFinder(std::string_view rules)
    : m_sections(1), m_when(std::make_unique<RE2::Set>(Options(kSectionMemory), RE2::UNANCHORED))
{
    for (MaskRule& rule : ParseRules(rules)) {
        if (rule.name != kWhen) {
            m_sections.back().entries.push_back({std::move(rule), nullptr, 0});
            continue;
        }
        std::string error;
        if (m_when->Add(rule.pattern, &error) < 0) {
            throw RuleError("a pattern of 'when' is not valid: " + error);
        }
        m_sections.emplace_back();
    }
    if (m_sections.size() > kMaxSections) {
        throw RuleError("it has more than 7 lines 'when'");
    }
    if (!m_when->Compile()) {
        throw RuleError("the patterns of 'when' are too large together");
    }
    if (rules != BuiltInRules()) {
        CheckAll();
    }
}

void SecretFinder::CheckAll()
{
    std::size_t count = 0;
    for (Section& section : m_sections) {
        for (Entry& entry : section.entries) {
            MakeExpression(entry);
            Check(*entry.expression, entry.rule);
        }
        count += section.entries.size();
        section.any = CompileAny(section.entries);
        if (!section.any->ok()) {
            throw RuleError("the patterns of a section are too large together");
        }
    }
    if (count == 0) {
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
    for (Section& section : m_sections) {
        section.hasMore = false;
    }
    Search(m_sections.front(), from);
    const re2::StringPiece text(line.data(), line.size());
    if (!m_when->Match(text, nullptr)) { // most lines
        return;
    }
    RE2::Set::ErrorInfo error{};
    if (m_when->Match(text, &m_needed, &error)) {
        for (const int number : m_needed) {
            Search(m_sections[static_cast<std::size_t>(number) + 1], from);
        }
    } else { // out of memory
        std::for_each(m_sections.begin() + 1, m_sections.end(), [&](Section& section) { Search(section, from); });
    }
}

void SecretFinder::Search(Section& section, std::size_t from)
{
    if (section.entries.empty()) {
        return;
    }
    if (!section.any) {
        section.any = CompileAny(section.entries);
    }
    re2::StringPiece match;
    section.hasMore =
        section.any->Match({m_line.data(), m_line.size()}, from, m_line.size(), RE2::UNANCHORED, &match, 1);
    if (section.hasMore) {
        section.matchBegin = static_cast<std::size_t>(match.data() - m_line.data());
        section.matchEnd = section.matchBegin + match.size();
    }
}

bool SecretFinder::Next(std::size_t from, FoundSecret& found)
{
    Section* first = nullptr;
    for (Section& section : m_sections) {
        if (section.hasMore && section.matchBegin < from) {
            Search(section, from);
        }
        if (section.hasMore && (first == nullptr || section.matchBegin < first->matchBegin)) {
            first = &section;
        }
    }
    if (first == nullptr) {
        return false;
    }
    Explain(*first, found);
    return true;
}

void SecretFinder::Explain(Section& section, FoundSecret& found)
{
    static const MaskRule kUnexplained{"secret", ""};
    found = {&kUnexplained, section.matchBegin, section.matchEnd, section.matchBegin, section.matchEnd};
    for (Entry& entry : section.entries) {
        if (Explain(entry, found)) {
            break; // otherwise a rule ran out of memory, and the whole match is the secret
        }
    }
}

void SecretFinder::MakeExpression(Entry& entry)
{
    entry.expression = Compile(entry.rule);
    const auto& names = entry.expression->NamedCapturingGroups();
    const auto value = names.find("value");
    entry.valueGroup = value == names.end() ? 0 : value->second;
}

bool SecretFinder::Explain(Entry& entry, FoundSecret& found)
{
    if (!entry.expression) {
        MakeExpression(entry);
    }
    // One byte on each side is what "^", "$" and "\\b" look at: a short text is what RE2 is fast on.
    const std::size_t begin = found.matchBegin - std::min<std::size_t>(found.matchBegin, 1);
    const std::size_t end = std::min(found.matchEnd + 1, m_line.size());
    const re2::StringPiece text(m_line.data() + begin, end - begin);
    re2::StringPiece groups[1 + kMaxGroups];
    const int count = 1 + entry.expression->NumberOfCapturingGroups();
    if (!entry.expression->Match(text, found.matchBegin - begin, found.matchEnd - begin, RE2::ANCHOR_BOTH, groups,
                                 count)) {
        return false;
    }
    found.rule = &entry.rule;
    found.begin = found.end = found.matchEnd;
    for (int i = 1; i < count; ++i) {
        if (!groups[i].empty()) {
            found.begin = static_cast<std::size_t>(groups[i].data() - m_line.data());
            found.end = found.begin + groups[i].size();
            if (i == entry.valueGroup && IsRestOfLine(m_line, found.begin)) {
                found.end = found.matchEnd = m_line.size();
            }
            break;
        }
    }
    return true;
}

} // namespace DiagSeal
