#include "PatternPart.h"

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
    joined.reserve(beginnings.size() * ends.size());
    for (const std::string& end : ends) {
        for (const std::string& beginning : beginnings) {
            joined.push_back(beginning + end);
        }
    }
    return joined;
}

} // namespace

PatternPart PartOfText(std::string text)
{
    PatternPart part;
    part.size = text.size();
    part.exact.emplace().push_back(std::move(text));
    return part;
}

PatternPart PartOfOneByte()
{
    return {std::nullopt, {}, 1};
}

PatternPart OptionalPart(const PatternPart& part)
{
    return {std::nullopt, {}, part.size};
}

PatternPart RepeatedPart(PatternPart part)
{
    part.repeats = true;
    part.size = kUnbounded;
    return part;
}

PatternPart EitherPart(PatternPart a, PatternPart b)
{
    PatternPart either;
    either.size = std::max(a.size, b.size);
    if (a.exact && b.exact && a.exact->size() + b.exact->size() <= kMaxTexts) {
        constexpr std::size_t kUsual = 16;
        either.exact = std::move(a.exact);
        either.exact->reserve(std::max(kUsual, either.exact->size() + b.exact->size()));
        std::move(b.exact->begin(), b.exact->end(), std::back_inserter(*either.exact));
    } else {
        either.required = RequiredByEither(RequiredByPart(std::move(a)), RequiredByPart(std::move(b)));
    }
    return either;
}

RequiredLists RequiredByPart(PatternPart part)
{
    if (part.exact) {
        AddIfRare({std::move(*part.exact), 0, 0}, part.required);
    }
    return Rarest(std::move(part.required));
}

void PatternSequence::Add(PatternPart part)
{
    const bool isLonger = part.exact && m_run.size() * part.exact->size() <= kMaxTexts;
    if (isLonger) {
        m_run = Joined(m_run, *part.exact);
    }
    const std::size_t end = BoundedSum(m_all.size, part.size);
    if (!isLonger || part.repeats) {
        AddIfRare({std::move(m_run), m_before, m_order++}, m_all.required);
        const std::size_t order = m_order;
        for (RequiredTexts& list : part.required) {
            list.before = BoundedSum(list.before, m_all.size);
            list.order += order;
            m_order = std::max(m_order, list.order);
            m_all.required.push_back(std::move(list));
        }
        ++m_order;
        // The last of the repetitions begins the next run.
        m_before = part.exact && !part.repeats ? m_all.size : end;
        m_run = part.exact ? std::move(*part.exact) : Texts{""};
        m_all.exact.reset();
    }
    m_all.size = end;
}

void PatternSequence::AddText(std::string_view text)
{
    for (std::string& run : m_run) {
        run += text;
    }
    m_all.size = BoundedSum(m_all.size, text.size());
}

PatternPart PatternSequence::Finish()
{
    if (m_all.exact) {
        m_all.exact = std::move(m_run);
    } else {
        AddIfRare({std::move(m_run), m_before, m_order}, m_all.required);
    }
    return std::move(m_all);
}

} // namespace DiagSeal
