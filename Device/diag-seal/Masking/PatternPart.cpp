#include "PatternPart.h"

#include "Characters.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace DiagSeal
{
namespace
{

using Texts = std::vector<std::string>;

/** Each of the beginnings with each of the ends. */
Texts Joined(const Texts& beginnings, const Texts& ends)
{
    Texts joined;
    for (const std::string& end : ends) {
        for (const std::string& beginning : beginnings) {
            joined.push_back(beginning + end);
        }
    }
    return joined;
}

/** The part follows those texts at whose end the sequence is. */
void Continue(RequiredTexts& list, const PatternPart& part)
{
    for (RequiredText& text : list.texts) {
        if (part.mayBeEmpty && part.first.any() && part.first != part.bytes) {
            text.next.AddOptionalGroup(part.first, part.bytes);
        } else if (part.mayBeEmpty) {
            text.next.AddOptional(part.bytes, part.size != 1);
        } else if (part.first == part.bytes) {
            text.next.Add(part.bytes, part.size != 1);
        } else {
            text.next.Add(part.first, false);
            text.next.AddOptional(part.bytes, true);
        }
    }
}

/** Adds a letter in both cases, as WithBothCases does. */
void AddBothCases(char c, ByteSet& bytes)
{
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) {
        bytes = WithBothCases(bytes.set(byte));
    } else {
        bytes.set(byte);
        bytes.set(kWord(c) && !IsDigit(c) ? byte ^ 0x20 : byte);
    }
}

void Close(RequiredTexts& list)
{
    for (RequiredText& text : list.texts) {
        text.next.Close();
    }
}

} // namespace

ByteSet BytesOf(bool (*predicate)(char))
{
    ByteSet bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = predicate(static_cast<char>(i));
    }
    return bytes;
}

ByteSet WithBothCases(ByteSet bytes)
{
    static const ByteSet kBeyondAscii = ByteSet().set() << 0x80;
    static const ByteSet kUpper = BytesOf([](char c) { return c >= 'A' && c <= 'Z'; });
    static const ByteSet kLower = kUpper << 0x20;
    if ((bytes & kBeyondAscii).any()) {
        bytes |= kBeyondAscii;
    }
    return bytes | (bytes & kUpper) << 0x20 | (bytes & kLower) >> 0x20;
}

PatternPart PartOfText(std::string text)
{
    PatternPart part;
    part.size = text.size();
    part.isFixed = true;
    part.mayBeEmpty = text.empty();
    part.bytes.reset();
    part.first.reset();
    for (const char c : text) {
        AddBothCases(c, part.bytes);
    }
    if (!text.empty()) {
        AddBothCases(text.front(), part.first);
    }
    part.exact.emplace().push_back(std::move(text));
    return part;
}

PatternPart PartOfOneByte(const ByteSet& bytes)
{
    PatternPart part;
    part.size = 1;
    part.isFixed = true;
    part.mayBeEmpty = false;
    part.first = part.bytes = WithBothCases(bytes);
    return part;
}

PatternPart AssertionPart(const ByteSet& behind)
{
    PatternPart part = PartOfText("");
    part.assertion = behind;
    return part;
}

PatternPart OptionalPart(PatternPart part)
{
    part.exact.reset();
    part.required.clear();
    part.mayBeEmpty = true;
    part.isFixed = false;
    part.assertion.reset();
    return part;
}

PatternPart RepeatedPart(PatternPart part)
{
    part.repeats = true;
    part.size = kUnbounded;
    part.isFixed = false;
    part.assertion.reset();
    std::for_each(part.required.begin(), part.required.end(), Close);
    return part;
}

PatternPart EitherPart(PatternPart a, PatternPart b)
{
    PatternPart either;
    either.size = std::max(a.size, b.size);
    either.isFixed = a.isFixed && b.isFixed && a.size == b.size;
    either.mayBeEmpty = a.mayBeEmpty || b.mayBeEmpty;
    either.first = a.first | b.first;
    either.bytes = a.bytes | b.bytes;
    if (a.assertion && b.isFixed && b.size == 1) {
        either.assertion = *a.assertion | b.bytes;
    } else if (a.exact && b.exact && a.exact->size() + b.exact->size() <= kMaxTexts) {
        either.exact = std::move(a.exact);
        std::move(b.exact->begin(), b.exact->end(), std::back_inserter(*either.exact));
    } else {
        either.required = RequiredByEither(RequiredByPart(std::move(a)), RequiredByPart(std::move(b)));
    }
    return either;
}

RequiredLists RequiredByPart(PatternPart part)
{
    if (part.exact) {
        RequiredTexts list;
        for (std::string& text : *part.exact) {
            list.texts.push_back({std::move(text), 0, true});
        }
        AddIfRare(std::move(list), part.required);
    }
    return Rarest(std::move(part.required));
}

void PatternSequence::Add(PatternPart part)
{
    const bool isFirst = m_all.size == 0 && m_prefix.none();
    if (part.assertion && m_run == Texts{""} && (part.size == 0 || isFirst)) {
        m_previous &= *part.assertion;
        m_prefix |= part.bytes;
        m_all.first |= part.bytes;
        m_all.bytes |= part.bytes;
    } else if (!(part.assertion && part.size == 0)) {
        AddBytes(std::move(part));
    }
}

/** Adds a part that takes bytes. */
void PatternSequence::AddBytes(PatternPart part)
{
    for (RequiredTexts& list : m_all.required) {
        Continue(list, part);
    }
    m_all.first |= m_all.mayBeEmpty ? part.first : ByteSet();
    m_all.bytes |= part.bytes;
    m_all.mayBeEmpty = m_all.mayBeEmpty && part.mayBeEmpty;
    const bool isLonger = part.exact && m_run.size() * part.exact->size() <= kMaxTexts;
    if (isLonger) {
        m_run = Joined(m_run, *part.exact);
    }
    if (!isLonger || part.repeats) {
        const bool isDirect = m_run == Texts{""};
        const bool hasPrefix = m_prefix.any();
        if (isDirect) {
            for (RequiredTexts& list : part.required) {
                Precede(list);
            }
        }
        RequiredTexts run = TakeRun();
        if (isLonger) {
            Close(run);
        } else {
            Continue(run, part);
        }
        AddIfRare(std::move(run), m_all.required);
        if (hasPrefix && !isDirect) {
            Widen();
        }
        const std::size_t order = m_order;
        for (RequiredTexts& list : part.required) {
            for (RequiredText& text : list.texts) {
                text.isFixed = text.isFixed && m_all.isFixed && (text.prefix.none() || m_all.size == 0);
                text.before = BoundedSum(text.before, m_all.size);
            }
            list.order += order;
            m_order = std::max(m_order, list.order);
            m_all.required.push_back(std::move(list));
        }
        ++m_order;
        if (hasPrefix && isDirect) {
            Widen();
        }
        // The last of the repetitions begins the next run.
        const bool beginsRun = part.exact && !part.repeats;
        m_before = beginsRun ? m_all.size : BoundedSum(m_all.size, part.size);
        m_isFixed = m_all.isFixed && (beginsRun || part.isFixed);
        m_run = part.exact ? std::move(*part.exact) : Texts{""};
        m_all.exact.reset();
        if (part.assertion) {
            m_previous = *part.assertion;
        } else if (!part.exact && !part.mayBeEmpty) {
            m_previous = part.bytes;
        }
    }
    m_all.size = BoundedSum(m_all.size, part.size);
    m_all.isFixed = m_all.isFixed && part.isFixed;
}

/** Counts the prefix, once other texts than those behind it are added. */
void PatternSequence::Widen()
{
    m_all.size = BoundedSum(m_all.size, 1);
    m_all.isFixed = false;
}

/** The assertion that was added last stands before the texts. */
void PatternSequence::Precede(RequiredTexts& list) const
{
    for (RequiredText& text : list.texts) {
        const bool isDirect = text.isFixed && text.before == 0 && text.prefix.none();
        if (isDirect && !text.text.empty() && kWord(text.text.front())) {
            text.previous &= m_previous;
            text.prefix = m_prefix;
        } else if (m_prefix.any()) {
            text.isFixed = false;
            text.before = BoundedSum(text.before, 1);
        }
    }
}

RequiredTexts PatternSequence::TakeRun()
{
    RequiredTexts run{{}, m_order++};
    for (std::string& text : m_run) {
        run.texts.push_back({std::move(text), 0, true});
    }
    Precede(run);
    for (RequiredText& text : run.texts) {
        text.before = BoundedSum(text.before, m_before);
        text.isFixed = text.isFixed && m_isFixed;
    }
    m_previous.set();
    m_prefix.reset();
    return run;
}

PatternPart PatternSequence::Finish()
{
    if (m_all.exact && m_prefix.none()) {
        if (m_run == Texts{""} && !m_previous.all()) {
            m_all.assertion = m_previous;
        }
        m_all.exact = std::move(m_run);
    } else {
        m_all.exact.reset();
        if (m_prefix.any()) {
            Widen();
        }
        AddIfRare(TakeRun(), m_all.required);
    }
    return std::move(m_all);
}

} // namespace DiagSeal
