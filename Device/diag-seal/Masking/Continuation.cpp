#include "Continuation.h"

#include <algorithm>

namespace DiagSeal
{
namespace
{

// Behind so large a class that repeats, nearly everything can follow.
constexpr std::size_t kWide = 128;

} // namespace

void Continuation::Add(const ByteSet& bytes, bool repeats)
{
    AddStep({bytes, false, repeats});
}

void Continuation::AddOptional(const ByteSet& bytes, bool repeats)
{
    AddStep({bytes, true, repeats});
}

void Continuation::AddStep(const Step& step)
{
    m_isClosed = m_isClosed || m_steps.size() == kMaxSteps;
    if (m_isClosed || step.bytes.none()) {
        return;
    }
    m_steps.reserve(kMaxSteps);
    m_steps.push_back(step);
    m_isClosed = step.repeats && step.bytes.count() >= kWide;
}

bool Continuation::AllowsAnything() const
{
    return std::all_of(m_steps.begin(), m_steps.end(), [](const Step& step) { return step.isOptional; });
}

ContinuationTable::ContinuationTable(const Continuation& continuation)
{
    const auto& steps = continuation.m_steps;
    m_end = static_cast<Steps>(1U << steps.size());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const auto step = static_cast<Steps>(1U << i);
        m_repeats |= steps[i].repeats ? step : 0;
        for (std::size_t byte = 0; byte < m_takes.size(); ++byte) {
            m_takes[byte] |= steps[i].bytes[byte] ? step : 0;
        }
    }
    for (std::size_t set = 0; set < m_reaches.size(); ++set) {
        std::size_t reached = set;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            reached |= steps[i].isOptional ? (reached & 1U << i) << 1 : 0;
        }
        m_reaches[set] = static_cast<Steps>(reached);
    }
}

bool ContinuationTable::Allows(std::string_view text) const
{
    Steps next = m_reaches[1];
    for (const char c : text.substr(0, kMaxLook)) {
        if ((next & m_end) != 0) {
            return true;
        }
        const auto taken = static_cast<Steps>(next & m_takes[static_cast<unsigned char>(c)]);
        next = m_reaches[static_cast<Steps>(taken << 1 | (taken & m_repeats))];
        if (next == 0) {
            return false;
        }
    }
    return (next & m_end) != 0 || text.size() > kMaxLook;
}

} // namespace DiagSeal
