#include "ReconnectDelay.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kFirst = 100;
constexpr double kLongest = 5000;
constexpr double kRandomPart = 0.5;
} // namespace

std::chrono::milliseconds Gatrix::ReconnectDelay::OnDown(Time now, double random)
{
    if (m_upSince && now - *m_upSince >= kLasting) {
        m_failures = 0;
    }
    m_upSince.reset();
    const double longest = std::min(kLongest, kFirst * std::pow(2.0, m_failures++));
    return std::chrono::milliseconds(std::lround(longest * (1 - kRandomPart * random)));
}
