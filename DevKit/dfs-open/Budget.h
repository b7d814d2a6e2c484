#pragma once

#include "Fault.h"
#include "Limits.h"

#include <ctime>

namespace DfsOpen
{

/** What is left of the work that one archive may cause. Not thread-safe. */
class Budget
{
public:
    explicit Budget(const Limits& limits)
        : m_bytes(limits.totalSize), m_seconds(limits.processorSeconds), m_start(std::clock())
    {}

    /** Takes off the bytes that a layer works on. @throws Fault each time, once bytes or processor time are used up */
    void Spend(std::uint64_t bytes)
    {
        constexpr std::uint64_t kClockStep = std::uint64_t{64} * 1024;
        m_sinceClock += bytes;
        if (m_sinceClock >= kClockStep) {
            m_sinceClock = 0;
            m_isSpent = m_isSpent || static_cast<std::uint64_t>((std::clock() - m_start) / CLOCKS_PER_SEC) >= m_seconds;
        }
        m_isSpent = m_isSpent || bytes > m_bytes;
        if (m_isSpent) {
            throw Fault(Outcome::Refused,
                        "the archive makes more work than is accepted (--max-plain-size lifts the bound)");
        }
        m_bytes -= bytes;
    }

private:
    std::uint64_t m_bytes;
    const std::uint64_t m_seconds;
    const std::clock_t m_start;
    std::uint64_t m_sinceClock = 0;
    bool m_isSpent = false;
};

} // namespace DfsOpen
