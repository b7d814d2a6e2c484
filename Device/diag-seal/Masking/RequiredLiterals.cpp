#include "RequiredLiterals.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace DiagSeal
{
namespace
{

using Texts = std::vector<std::string>;

constexpr std::size_t kLong = 3;      // bytes of a text that is found seldom whatever it is
constexpr std::size_t kMaxTexts = 48; // of one list
constexpr std::size_t kMaxLists = 4;  // of a part
constexpr std::size_t kMaxClass = 5;  // characters of a class that counts as alternatives
constexpr std::size_t kMaxDepth = 50; // of groups
constexpr std::size_t kUnbounded = RequiredTexts::kAnywhere;

/** What is known about a part of a pattern. */
struct Part
{
    std::optional<Texts> exact{}; ///< all that it matches; may hold an empty text
    std::vector<RequiredTexts> required{};
    std::size_t size = kUnbounded; ///< bytes that it matches, at most
    bool repeats = false;          ///< it matches what it says once or more often
};

/** Reading ends at a construct that the reader does not know. */
struct Unknown
{};

bool IsAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/** Whether it stands for itself for sure. */
bool IsPlain(char c)
{
    return IsAlphanumeric(c) || c == '_' || c == '-' || c == ' ' || c == ':' || c == '=' || c == '/';
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

Part Exact(std::string text)
{
    Part part;
    part.size = text.size();
    part.exact.emplace().push_back(std::move(text));
    return part;
}

Part OneOfClass(Texts texts)
{
    return {std::move(texts), {}, 1};
}

std::size_t Sum(std::size_t a, std::size_t b)
{
    return a == kUnbounded || b == kUnbounded ? kUnbounded : a + b;
}

bool IsRarer(const RequiredTexts& a, const RequiredTexts& b)
{
    const auto shortest = [](const RequiredTexts& list) {
        const auto isShorter = [](const std::string& x, const std::string& y) { return x.size() < y.size(); };
        return std::min_element(list.texts.begin(), list.texts.end(), isShorter)->size();
    };
    const std::size_t shortestOfA = shortest(a);
    const std::size_t shortestOfB = shortest(b);
    return shortestOfA != shortestOfB ? shortestOfA > shortestOfB : a.texts.size() < b.texts.size();
}

/** Adds the texts as a list, unless one of them is found everywhere. */
void AddList(Texts texts, std::size_t before, std::size_t order, std::vector<RequiredTexts>& lists)
{
    const auto isRare = [](char c) { return c != ' ' && !IsAlphanumeric(c); };
    const auto isCommon = [&isRare](const std::string& text) {
        const bool isLong = text.size() >= kLong && text.find_first_not_of(' ') != std::string::npos;
        return !isLong && std::none_of(text.begin(), text.end(), isRare);
    };
    if (std::none_of(texts.begin(), texts.end(), isCommon)) {
        lists.push_back({std::move(texts), before, order});
    }
}

std::vector<RequiredTexts> Lists(Part part)
{
    std::vector<RequiredTexts> lists = std::move(part.required);
    if (part.exact) {
        AddList(std::move(*part.exact), 0, 0, lists);
    }
    std::sort(lists.begin(), lists.end(), IsRarer);
    lists.resize(std::min(lists.size(), kMaxLists));
    return lists;
}

/** What is required if one of two parts matches. */
std::vector<RequiredTexts> OneOf(const std::vector<RequiredTexts>& a, const std::vector<RequiredTexts>& b)
{
    std::vector<RequiredTexts> lists;
    for (std::size_t i = 0; !a.empty() && !b.empty() && i < std::max(a.size(), b.size()); ++i) {
        const RequiredTexts& one = a[std::min(i, a.size() - 1)];
        const RequiredTexts& other = b[std::min(i, b.size() - 1)];
        if (one.texts.size() + other.texts.size() <= kMaxTexts) {
            lists.push_back({one.texts, std::max(one.before, other.before), 0});
            lists.back().texts.insert(lists.back().texts.end(), other.texts.begin(), other.texts.end());
        }
    }
    return lists;
}

/** Leaves out each text that holds another one: where it stands, the other does. */
void Simplify(RequiredTexts& list)
{
    Texts simplified;
    std::size_t moved = 0; // bytes of a text before the one that it holds, at most
    for (const std::string& text : list.texts) {
        const auto isHeld = [&](const std::string& other) {
            return other.size() <= text.size() && text.find(other) != std::string::npos &&
                   (other.size() < text.size() || &other < &text);
        };
        if (std::any_of(list.texts.begin(), list.texts.end(), isHeld)) {
            moved = std::max(moved, text.size());
        } else {
            simplified.push_back(text);
        }
    }
    list.texts = std::move(simplified);
    list.before = Sum(list.before, moved);
}

/** Whether the second list says nothing beyond the first. */
bool Implies(const RequiredTexts& list, const RequiredTexts& other)
{
    return std::all_of(list.texts.begin(), list.texts.end(), [&other](const std::string& text) {
        const auto isHeld = [&text](const std::string& part) { return text.find(part) != std::string::npos; };
        return std::any_of(other.texts.begin(), other.texts.end(), isHeld);
    });
}

/** Reads a pattern from its beginning to its end. */
class Reader
{
public:
    explicit Reader(std::string_view pattern) : m_rest(pattern) {}

    std::vector<RequiredTexts> Read()
    {
        Part part = ReadAlternatives();
        if (!m_rest.empty()) {
            throw Unknown();
        }
        std::vector<RequiredTexts> lists = Lists(std::move(part));
        std::vector<RequiredTexts> all;
        for (RequiredTexts& list : lists) {
            const auto implies = [&list](const RequiredTexts& known) { return Implies(known, list); };
            if (std::none_of(all.begin(), all.end(), implies)) {
                Simplify(list);
                all.push_back(std::move(list));
            }
        }
        return all;
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

    Part ReadAlternatives()
    {
        Part all = ReadSequence();
        while (Take("|")) {
            Part next = ReadSequence();
            const std::size_t size = std::max(all.size, next.size);
            if (all.exact && next.exact && all.exact->size() + next.exact->size() <= kMaxTexts) {
                std::move(next.exact->begin(), next.exact->end(), std::back_inserter(*all.exact));
            } else if (all.exact || !all.required.empty()) {
                all = {std::nullopt, OneOf(Lists(std::move(all)), Lists(std::move(next)))};
            }
            all.size = size;
        }
        return all;
    }

    bool IsAtEndOfSequence() const { return m_rest.empty() || m_rest.front() == '|' || m_rest.front() == ')'; }

    Part ReadSequence()
    {
        if (IsAtEndOfSequence()) {
            return Exact("");
        }
        Part part = ReadRepeated();
        if (IsAtEndOfSequence() && !part.repeats) {
            return part;
        }
        Part all = Exact("");
        Texts run(1);           // what the parts read last match together
        std::size_t before = 0; // bytes that stand before the run, at most
        std::size_t order = 0;
        while (true) {
            const bool isLonger = part.exact && run.size() * part.exact->size() <= kMaxTexts;
            if (isLonger) {
                Append(*part.exact, run);
            }
            const std::size_t end = Sum(all.size, part.size);
            if (!isLonger || part.repeats) {
                AddList(std::move(run), before, order++, all.required);
                for (RequiredTexts& list : part.required) {
                    all.required.push_back({std::move(list.texts), Sum(list.before, all.size), order});
                }
                ++order;
                run = part.exact.value_or(Texts{""});
                before = part.exact && !part.repeats ? all.size : end;
                all.exact.reset();
            }
            all.size = end;
            if (IsAtEndOfSequence()) {
                break;
            }
            part = ReadRepeated();
        }
        if (all.exact) {
            all.exact = std::move(run);
        } else {
            AddList(std::move(run), before, order, all.required);
        }
        return all;
    }

    static void Append(const Texts& ends, Texts& run)
    {
        const std::size_t count = run.size();
        for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
            for (std::size_t k = 0; k < count; ++k) {
                run.push_back(run[k] + ends[i]);
            }
        }
        for (std::size_t k = 0; k < count; ++k) {
            run[k] += ends.back();
        }
    }

    Part ReadRepeated()
    {
        Part part = ReadAtom();
        while (!m_rest.empty()) {
            if (Take("?")) {
                part = {std::nullopt, {}, part.size};
            } else if (Take("*")) {
                part = {};
            } else if (const std::size_t size = CountSize(); size > 0) {
                part = m_rest[1] == '0' ? Part{} : Repeated(std::move(part));
                m_rest.remove_prefix(size);
            } else if (Take("+")) {
                part = Repeated(std::move(part));
            } else {
                break;
            }
            Take("?"); // as few as possible
        }
        return part;
    }

    static Part Repeated(Part part)
    {
        part.repeats = true;
        part.size = kUnbounded;
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

    Part ReadAtom()
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
                return {std::nullopt, {}, 1};
            case '^':
            case '$':
                return Exact("");
            default:
                return ReadPlain(c);
        }
    }

    /** The characters up to the next one that is special or repeated. */
    Part ReadPlain(char first)
    {
        std::string text(1, Folded(first));
        while (m_rest.size() > 1 && IsPlain(m_rest.front()) && !IsRepetition(m_rest[1])) {
            text += Folded(TakeAny());
        }
        return Exact(std::move(text));
    }

    Part ReadGroup()
    {
        if (Take("?P<")) {
            const std::size_t end = m_rest.find('>');
            m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        } else if (Take("?")) {
            const std::size_t end = m_rest.find_first_not_of("imsU-");
            m_rest.remove_prefix(std::min(end, m_rest.size()));
            if (Take(")")) { // only flags, for what follows
                return Exact("");
            }
            if (!Take(":")) {
                throw Unknown();
            }
        }
        if (++m_depth > kMaxDepth) {
            throw Unknown();
        }
        Part part = ReadAlternatives();
        if (!Take(")")) {
            throw Unknown();
        }
        --m_depth;
        return part;
    }

    Part ReadClass()
    {
        bool isSmall = !Take("^");
        Texts texts;
        for (bool isFirst = true; isFirst || !Take("]"); isFirst = false) {
            const char c = TakeAny();
            if (c == '[' && !m_rest.empty() && m_rest.front() == ':') {
                throw Unknown();
            }
            const Part part = c == '\\' ? ReadEscape() : Part{Texts{std::string(1, c)}};
            const bool isRange = m_rest.size() > 1 && m_rest.front() == '-' && m_rest[1] != ']';
            isSmall = isSmall && part.exact && !isRange && texts.size() < kMaxClass;
            if (isRange) {
                TakeAny();
                if (TakeAny() == '\\') {
                    ReadEscape();
                }
            } else if (isSmall) {
                const std::string& text = part.exact->front();
                texts.emplace_back(text.empty() ? 0 : 1, text.empty() ? ' ' : Folded(text.front()));
            }
        }
        return isSmall ? OneOfClass(std::move(texts)) : Part{std::nullopt, {}, 1};
    }

    Part ReadEscape()
    {
        const char c = TakeAny();
        if (!IsAlphanumeric(c)) {
            return Exact(std::string(1, Folded(c)));
        }
        switch (c) {
            case 't':
                return Exact("\t");
            case 'n':
                return Exact("\n");
            case 'r':
                return Exact("\r");
            case 's':
                return Exact(" ");
            case 'b':
            case 'B':
            case 'A':
            case 'z':
                return Exact("");
            case 'd':
            case 'D':
            case 'S':
            case 'w':
            case 'W':
                return {std::nullopt, {}, 1};
            default:
                throw Unknown();
        }
    }

    std::string_view m_rest;
    std::size_t m_depth = 0;
};

} // namespace

std::vector<RequiredTexts> RequiredLiterals(std::string_view pattern)
{
    try {
        return Reader(pattern).Read();
    } catch (const Unknown&) {
        return {};
    }
}

} // namespace DiagSeal
