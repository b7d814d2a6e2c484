#pragma once

#include <chrono>

namespace Gatrix
{
/**
 * How long to wait before the next attempt to connect: 0.1 s, then twice as long each time up to 5 s, less a random
 * part of up to a half, so that the clients of a gateway that comes back do not all come at once.
 *
 * @param failures attempts since the latest connection that lasted
 * @param random   in [0, 1)
 */
std::chrono::milliseconds ReconnectDelay(unsigned int failures, double random);
} // namespace Gatrix
