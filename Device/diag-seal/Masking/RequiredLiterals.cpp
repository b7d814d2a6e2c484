#include "RequiredLiterals.h"

#include "Characters.h"
#include "PatternPart.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kMaxClass = 5;  // characters of a class that counts as alternatives
constexpr std::size_t kMaxDepth = 50; // of groups

/** Reading ends at a construct that the reader does not know. */
struct Unknown
{};

/** Whether it stands for itself for sure. */
bool IsPlain(char c)
{
    return IsWord(c) || c == '_' || c == '-' || c == ' ' || c == ':' || c == '=' || c == '/';
}

bool IsRepetition(char c)
{
    return c == '*' || c == '+' || c == '?' || c == '{';
}

/** As letters match in either case. Beyond ASCII that is not a matter of one bit. */
char Folded(char c)
{
    if (static_cast<unsigned char>(c) >= 0x80) {
        throw Unknown();
    }
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

/** Reads a pattern from its beginning to its end. */
class Reader
{
public:
    explicit Reader(std::string_view pattern) : m_rest(pattern) {}

    PatternPart Read()
    {
        PatternPart part = ReadAlternatives();
        if (!m_rest.empty()) {
            throw Unknown();
        }
        return part;
    }

private:
    bool Take(std::string_view text)
    {
        const bool isThere = m_rest.substr(0, text.size()) == text;
        m_rest.remove_prefix(isThere ? text.size() : 0);
        return isThere;
    }

    char TakeAny()
    {
        if (m_rest.empty()) {
            throw Unknown();
        }
        const char c = m_rest.front();
        m_rest.remove_prefix(1);
        return c;
    }

    PatternPart ReadAlternatives()
    {
        PatternPart part = ReadSequence();
        while (Take("|")) {
            part = EitherPart(std::move(part), ReadSequence());
        }
        return part;
    }

    PatternPart ReadSequence()
    {
        PatternSequence sequence;
        while (!m_rest.empty() && m_rest.front() != '|' && m_rest.front() != ')') {
            if (const std::string text = TakePlain(); !text.empty()) {
                sequence.AddText(text);
            } else {
                sequence.Add(ReadRepeated());
            }
        }
        return sequence.Finish();
    }

    PatternPart ReadRepeated()
    {
        PatternPart part = ReadAtom();
        while (!m_rest.empty()) {
            if (Take("?")) {
                part = OptionalPart(part);
            } else if (Take("*")) {
                part = PatternPart{};
            } else if (const std::size_t size = CountSize(); size > 0) {
                part = m_rest[1] == '0' ? PatternPart{} : RepeatedPart(std::move(part));
                m_rest.remove_prefix(size);
            } else if (Take("+")) {
                part = RepeatedPart(std::move(part));
            } else {
                break;
            }
            Take("?"); // as few as possible
        }
        return part;
    }

    /** Of "{3}", "{3,}" or "{3,5}" at the beginning of the rest, or 0: other braces stand for themselves. */
    std::size_t CountSize() const
    {
        const std::size_t end = m_rest.front() == '{' ? m_rest.find('}') : std::string_view::npos;
        if (end == std::string_view::npos || end < 2) {
            return 0;
        }
        const std::string_view count = m_rest.substr(1, end - 1);
        const bool isCount = count.find_first_not_of("0123456789,") == std::string_view::npos && count.front() != ',' &&
                             std::count(count.begin(), count.end(), ',') <= 1;
        return isCount ? end + 1 : 0;
    }

    PatternPart ReadAtom()
    {
        const char c = TakeAny();
        switch (c) {
            case '(':
                return ReadGroup();
            case '[':
                return ReadClass();
            case '\\':
                return ReadEscape();
            case '.':
                return PartOfOneByte();
            case '^':
            case '$':
                return PartOfText("");
            default:
                return PartOfText(std::string(1, Folded(c)));
        }
    }

    /** The characters up to the next one that may be special or is repeated; may be none. */
    std::string TakePlain()
    {
        std::string text;
        while (!m_rest.empty() && IsPlain(m_rest.front()) && (m_rest.size() == 1 || !IsRepetition(m_rest[1]))) {
            text += Folded(TakeAny());
        }
        return text;
    }

    PatternPart ReadEscape()
    {
        std::optional<std::string> text = TakeEscape();
        return text ? PartOfText(*std::move(text)) : PartOfOneByte();
    }

    PatternPart ReadGroup()
    {
        if (Take("?P<")) {
            const std::size_t end = m_rest.find('>');
            m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        } else if (Take("?")) {
            const std::size_t end = m_rest.find_first_not_of("imsU-");
            m_rest.remove_prefix(std::min(end, m_rest.size()));
            if (Take(")")) { // only flags, for what follows
                return PartOfText("");
            }
            if (!Take(":")) {
                throw Unknown();
            }
        }
        if (++m_depth > kMaxDepth) {
            throw Unknown();
        }
        PatternPart part = ReadAlternatives();
        if (!Take(")")) {
            throw Unknown();
        }
        --m_depth;
        return part;
    }

    PatternPart ReadClass()
    {
        bool isSmall = !Take("^");
        std::vector<std::string> texts;
        for (bool isFirst = true; isFirst || !Take("]"); isFirst = false) {
            const char c = TakeAny();
            if (c == '[' && !m_rest.empty() && m_rest.front() == ':') {
                throw Unknown();
            }
            const std::optional<std::string> text = c == '\\' ? TakeEscape() : std::string(1, c);
            const bool isRange = m_rest.size() > 1 && m_rest.front() == '-' && m_rest[1] != ']';
            isSmall = isSmall && text && !isRange && texts.size() < kMaxClass;
            if (isRange) {
                TakeAny();
                if (TakeAny() == '\\') {
                    TakeEscape();
                }
            } else if (isSmall) {
                texts.push_back(text->empty() ? *text : std::string(1, Folded(text->front())));
            }
        }
        return isSmall ? PatternPart{std::move(texts), {}, 1} : PartOfOneByte();
    }

    /** The text that it matches, or none for one byte of many. */
    std::optional<std::string> TakeEscape()
    {
        const char c = TakeAny();
        if (!IsWord(c)) {
            return std::string(1, Folded(c));
        }
        switch (c) {
            case 't':
                return "\t";
            case 'n':
                return "\n";
            case 'r':
                return "\r";
            case 's':
                return " ";
            case 'b':
            case 'B':
            case 'A':
            case 'z':
                return "";
            case 'd':
            case 'D':
            case 'S':
            case 'w':
            case 'W':
                return std::nullopt;
            default:
                throw Unknown();
        }
    }

    std::string_view m_rest;
    std::size_t m_depth = 0;
};

} // namespace

RequiredLists RequiredLiterals(std::string_view pattern)
{
    try {
        return WithoutRedundant(RequiredByPart(Reader(pattern).Read()));
    } catch (const Unknown&) {
        return {};
    }
}

} // namespace DiagSeal
