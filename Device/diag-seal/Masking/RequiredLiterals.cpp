#include "RequiredLiterals.h"

#include "Characters.h"
#include "PatternSequence.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kMaxClass = 5;  // characters of a class that counts as alternatives
constexpr std::size_t kMaxDepth = 50; // of groups
constexpr std::size_t kMany = 1000;   // repetitions

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

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

bool IsWordOrLine(char c)
{
    return IsWord(c) || c == '_';
}

/** The class that an escape such as "\d" stands for. */
const ByteSet& ClassOf(char escape)
{
    static const ByteSet kDigits = BytesOf(IsDigit);
    static const ByteSet kNoDigits = ~kDigits;
    static const ByteSet kBlanks = BytesOf(IsBlank);
    static const ByteSet kNoBlanks = ~kBlanks;
    static const ByteSet kWords = BytesOf(IsWordOrLine);
    static const ByteSet kNoWords = ~kWords;
    switch (escape) {
        case 'd':
            return kDigits;
        case 'D':
            return kNoDigits;
        case 's':
            return kBlanks;
        case 'S':
            return kNoBlanks;
        case 'w':
            return kWords;
        default:
            return kNoWords;
    }
}

/** The class "[a-z]". */
ByteSet Range(char first, char last)
{
    if (first == '\\' || last == '\\') {
        throw Unknown();
    }
    ByteSet bytes;
    for (std::size_t i = static_cast<unsigned char>(first); i <= static_cast<unsigned char>(last); ++i) {
        bytes.set(i);
    }
    return bytes;
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
            sequence.Add(ReadRepeated());
        }
        return sequence.Finish();
    }

    PatternPart ReadRepeated()
    {
        PatternPart part = ReadAtom();
        while (!m_rest.empty()) {
            if (Take("?")) {
                part = OptionalPart(std::move(part));
            } else if (Take("*")) {
                part = OptionalPart(RepeatedPart(std::move(part)));
            } else if (const std::size_t size = CountSize(); size > 0) {
                part = Counted(part, m_rest.substr(1, size - 2));
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

    /** @param count "3", "3," or "3,5" */
    static PatternPart Counted(const PatternPart& part, std::string_view count)
    {
        const std::string_view digits = count.substr(0, count.find(','));
        std::size_t least = 0;
        for (const char c : digits) {
            least = std::min(10 * least + static_cast<std::size_t>(HexValue(c)), kMany);
        }
        return CountedPart(part, least, digits.size() < count.size());
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
                return PartOfOneByte(ByteSet().set());
            case '^':
                return AssertionPart({});
            case '$':
                return PartOfText("");
            default:
                return ReadPlain(c);
        }
    }

    /** The characters up to the next one that is special or repeated. */
    PatternPart ReadPlain(char first)
    {
        std::string text(1, Folded(first));
        while (m_rest.size() > 1 && IsPlain(m_rest.front()) && !IsRepetition(m_rest[1])) {
            text += Folded(TakeAny());
        }
        return PartOfText(std::move(text));
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
        const bool isNegated = Take("^");
        bool isSmall = !isNegated;
        ByteSet bytes;
        std::vector<std::string> texts;
        for (bool isFirst = true; isFirst || !Take("]"); isFirst = false) {
            const char c = TakeAny();
            if (c == '[' && !m_rest.empty() && m_rest.front() == ':') {
                throw Unknown();
            }
            std::string text(1, c);
            if (c == '\\') {
                PatternPart part = ReadEscape();
                bytes |= part.bytes;
                text = part.exact ? part.exact->front() : "";
            } else {
                bytes.set(static_cast<unsigned char>(c));
            }
            const bool isRange = m_rest.size() > 1 && m_rest.front() == '-' && m_rest[1] != ']';
            isSmall = isSmall && !text.empty() && !isRange && texts.size() < kMaxClass;
            if (isRange) {
                TakeAny();
                bytes |= Range(c, TakeAny());
            } else if (isSmall) {
                texts.emplace_back(1, Folded(text.front()));
            }
        }
        PatternPart part = PartOfOneByte(isNegated ? ~bytes : WithBothCases(bytes));
        if (isSmall) {
            part.exact = std::move(texts);
        }
        return part;
    }

    PatternPart ReadEscape()
    {
        const char c = TakeAny();
        if (!IsWord(c)) {
            return PartOfText(std::string(1, Folded(c)));
        }
        switch (c) {
            case 't':
                return PartOfText("\t");
            case 'n':
                return PartOfText("\n");
            case 'r':
                return PartOfText("\r");
            case 's': {
                PatternPart part = PartOfOneByte(ClassOf(c));
                part.exact.emplace().emplace_back(" ");
                return part;
            }
            case 'b':
                return AssertionPart(ClassOf('W'));
            case 'B':
            case 'A':
            case 'z':
                return PartOfText("");
            case 'd':
            case 'D':
            case 'S':
            case 'w':
            case 'W':
                return PartOfOneByte(ClassOf(c));
            default:
                throw Unknown();
        }
    }

    std::string_view m_rest;
    std::size_t m_depth = 0;
};

} // namespace

bool IsOnePass(std::string_view pattern)
{
    try {
        return Reader(pattern).Read().onePass.Holds();
    } catch (const Unknown&) {
        return false;
    }
}

RequiredLists RequiredLiterals(std::string_view pattern)
{
    try {
        return WithoutRedundant(RequiredByPart(Reader(pattern).Read()));
    } catch (const Unknown&) {
        return {};
    }
}

} // namespace DiagSeal
