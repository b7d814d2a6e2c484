#include "Continuation.h"

#include <algorithm>

namespace DiagSeal
{
namespace
{

// Behind so large a class that repeats, nearly everything can follow.
constexpr std::size_t kWide = 248;

} // namespace

void Continuation::Add(const ByteSet& bytes, bool repeats)
{
    AddStep({bytes, 0, repeats});
}

void Continuation::AddOptional(const ByteSet& bytes, bool repeats)
{
    AddStep({bytes, 1, repeats});
}

void Continuation::AddOptionalGroup(const ByteSet& first, const ByteSet& bytes)
{
    AddStep({first, 2, false});
    AddStep({bytes, 1, true});
}

void Continuation::Append(const Continuation& next)
{
    std::for_each(next.m_steps.begin(), next.m_steps.end(), [this](const Step& step) { AddStep(step); });
    m_isClosed = m_isClosed || next.m_isClosed;
}

std::size_t Continuation::FixedSize() const
{
    const auto isOther = [](const Step& step) { return step.skips > 0 || step.repeats; };
    return static_cast<std::size_t>(std::find_if(m_steps.begin(), m_steps.end(), isOther) - m_steps.begin());
}

void Continuation::AddStep(const Step& step)
{
    m_isClosed = m_isClosed || m_steps.size() + std::max<std::size_t>(step.skips, 1) > kMaxSteps;
    if (m_isClosed || step.bytes.none()) {
        return;
    }
    const bool endsGroup = !m_steps.empty() && m_steps.back().skips == 2;
    m_steps.reserve(kMaxSteps);
    m_steps.push_back(step);
    m_isClosed = step.repeats && step.bytes.count() >= kWide && !endsGroup;
}

bool Continuation::AllowsAnything() const
{
    return std::all_of(m_steps.begin(), m_steps.end(), [](const Step& step) { return step.skips > 0; });
}

ByteSet Continuation::First() const
{
    ByteSet first;
    std::size_t i = 0;
    while (i < m_steps.size()) {
        first |= m_steps[i].bytes;
        if (m_steps[i].skips == 0) {
            return first;
        }
        i += m_steps[i].skips;
    }
    return first.set();
}

ContinuationTable::ContinuationTable(const Continuation& continuation)
{
    const auto& steps = continuation.m_steps;
    m_end = static_cast<Steps>(1U << steps.size());
    // What is reached without a byte, from the last step to the first.
    std::array<Steps, Continuation::kMaxSteps + 1> reached{};
    reached[steps.size()] = m_end;
    for (std::size_t i = steps.size(); i > 0;) {
        --i;
        const Continuation::Step& step = steps[i];
        reached[i] = static_cast<Steps>(1U << i | (step.skips > 0 ? reached[i + step.skips] : 0));
        m_after[i] = static_cast<Steps>(reached[i + 1] | (step.repeats ? reached[i] : 0));
        for (std::size_t byte = 0; byte < m_takes.size(); ++byte) {
            m_takes[byte] |= static_cast<Steps>(step.bytes[byte] ? 1U << i : 0);
        }
    }
    m_first = reached[0];
}

bool ContinuationTable::Allows(std::string_view text) const
{
    Steps next = m_first;
    for (const char c : text.substr(0, kMaxLook)) {
        if ((next & m_end) != 0) {
            return true;
        }
        unsigned taken = next & m_takes[static_cast<unsigned char>(c)];
        for (next = 0; taken != 0; taken &= taken - 1) {
            next |= m_after[static_cast<std::size_t>(__builtin_ctz(taken))];
        }
        if (next == 0) {
            return false;
        }
    }
    return (next & m_end) != 0 || text.size() > kMaxLook;
}

} // namespace DiagSeal
