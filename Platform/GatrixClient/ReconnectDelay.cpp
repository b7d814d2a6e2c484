#include "ReconnectDelay.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kFirst = 100;
constexpr double kLongest = 5000;
constexpr double kRandomPart = 0.5;
} // namespace

std::chrono::milliseconds Gatrix::ReconnectDelay(unsigned int failures, double random)
{
    const double longest = std::min(kLongest, kFirst * std::pow(2.0, failures));
    return std::chrono::milliseconds(std::lround(longest * (1 - kRandomPart * random)));
}
