#include "PatternSplit.h"

#include "Characters.h"

namespace DiagSeal
{
namespace
{

/** Goes through a pattern, construct by construct. Escapes and classes hold no groups, whatever stands in them. */
class Walker
{
public:
    explicit Walker(std::string_view pattern) : m_pattern(pattern) {}

    std::size_t At() const { return m_at; }
    bool IsAtEnd() const { return m_at >= m_pattern.size(); }
    bool BeginsWith(std::string_view text) const { return m_pattern.substr(m_at, text.size()) == text; }

    /** Whether a group begins here that counts. */
    bool BeginsGroup() const { return BeginsWith("(") && (!BeginsWith("(?") || BeginsWith("(?P<")); }

    /** Whether quoted text begins here, or a group that sets flags for what follows it. */
    bool BeginsUnknown() const
    {
        const bool isGroup = BeginsWith("(?") && !BeginsWith("(?P<");
        const std::size_t flagsEnd = isGroup ? m_pattern.find_first_not_of("imsU-", m_at + 2) : m_pattern.npos;
        return BeginsWith("\\Q") || (isGroup && (flagsEnd == m_pattern.npos || m_pattern[flagsEnd] != ':'));
    }

    /** Goes past an escape, a class, or one character. */
    void Skip()
    {
        if (BeginsWith("\\")) {
            m_at += 2;
        } else if (BeginsWith("[")) {
            SkipClass();
        } else {
            ++m_at;
        }
    }

private:
    void SkipClass()
    {
        m_at += m_pattern.substr(m_at, 2) == "[^" ? 2 : 1;
        for (bool isFirst = true; !IsAtEnd() && (isFirst || m_pattern[m_at] != ']'); isFirst = false) {
            const std::size_t name = BeginsWith("[:") ? m_pattern.find(":]", m_at) : m_pattern.npos;
            m_at = name != m_pattern.npos ? name + 2 : m_at + (BeginsWith("\\") ? 2 : 1);
        }
        ++m_at;
    }

    std::string_view m_pattern;
    std::size_t m_at = 0;
};

/** The size of what the pattern matches, if it is a text or the end of the line. */
std::optional<std::size_t> SizeOfText(std::string_view pattern)
{
    if (pattern == "$") {
        return 0;
    }
    std::size_t size = 0;
    for (std::size_t at = 0; at < pattern.size(); ++at, ++size) {
        if (pattern[at] == '\\' && at + 1 < pattern.size() && !kWord(pattern[at + 1])) {
            ++at;
        } else if (!kWord(pattern[at]) &&
                   std::string_view("_-@/<>:=\"', ").find(pattern[at]) == std::string_view::npos) {
            return std::nullopt;
        }
    }
    return size;
}

} // namespace

std::optional<PatternSplit> Split(std::string_view pattern)
{
    Walker walker(pattern);
    std::size_t part = 0; // where the part begins
    std::size_t split = 0;
    std::size_t depth = 0;
    std::optional<std::size_t> behindGroup;
    while (!walker.IsAtEnd()) {
        if (walker.BeginsUnknown() || (depth == 0 && walker.BeginsWith("|"))) {
            return std::nullopt;
        }
        part = depth == 0 ? walker.At() : part;
        if (walker.BeginsGroup()) {
            const bool isFirst = split == 0;
            if (isFirst && part == 0) {
                return std::nullopt;
            }
            split = isFirst ? part : split;
        }
        depth += walker.BeginsWith("(") ? 1 : 0;
        const bool closes = walker.BeginsWith(")");
        if (closes && depth == 0) {
            return std::nullopt;
        }
        depth -= closes ? 1 : 0;
        walker.Skip();
        if (closes && depth == 0 && split == part && split > 0) {
            behindGroup = walker.At();
        }
    }
    if (split == 0 || depth > 0) {
        return std::nullopt;
    }
    PatternSplit parts{pattern.substr(0, split), pattern.substr(split), std::nullopt};
    const Walker tail(parts.tail);
    if (tail.BeginsGroup() && behindGroup) {
        parts.sizeBehindGroup = SizeOfText(pattern.substr(*behindGroup));
    }
    return parts;
}

bool HasGroups(std::string_view pattern)
{
    Walker walker(pattern);
    while (!walker.IsAtEnd() && !walker.BeginsGroup()) {
        walker.Skip();
    }
    return !walker.IsAtEnd();
}

} // namespace DiagSeal
