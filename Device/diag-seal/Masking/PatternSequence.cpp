#include "PatternSequence.h"

#include "Characters.h"

#include <algorithm>
#include <utility>

namespace DiagSeal
{
namespace
{

constexpr std::size_t kMaxCount = 12; // of repetitions: as far as it pays to look

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
        Continue(text.next, part);
    }
}

} // namespace

void PatternSequence::Add(PatternPart part)
{
    m_all.onePass.Add(part.onePass);
    const bool isFirst = m_all.size == 0 && m_prefix.none();
    if (part.assertion && m_run == Texts{""} && (part.size == 0 || isFirst)) {
        m_previous &= *part.assertion;
        m_prefix |= part.bytes;
        m_all.first |= part.bytes;
        m_all.last |= part.bytes;
        m_all.bytes |= part.bytes;
        m_all.steps->AddOptional(part.bytes, false);
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
    m_all.last = part.last | (part.mayBeEmpty ? m_all.last : ByteSet());
    m_all.bytes |= part.bytes;
    Continue(*m_all.steps, part);
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
            CloseAll(run);
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
        } else if (!part.exact && !m_all.mayBeEmpty) {
            m_previous = m_all.last;
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

PatternPart CountedPart(const PatternPart& part, std::size_t least, bool goesOn)
{
    if (least == 0) {
        return OptionalPart(RepeatedPart(part));
    }
    const bool isOfOneByte = part.isFixed && part.size == 1 && !part.exact;
    if (!isOfOneByte || least > kMaxCount) {
        return RepeatedPart(part);
    }
    PatternSequence sequence;
    for (std::size_t i = 1; i < least; ++i) {
        sequence.Add(part);
    }
    sequence.Add(goesOn ? RepeatedPart(part) : part);
    return sequence.Finish();
}

} // namespace DiagSeal
