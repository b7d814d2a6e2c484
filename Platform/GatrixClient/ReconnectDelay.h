#pragma once

#include <chrono>
#include <optional>

namespace Gatrix
{
/**
 * How long to wait before the next attempt to connect: 0.1 s, then twice as long each time up to 5 s, less a random
 * part of up to a half, so that the clients of a gateway that comes back do not all come at once.
 *
 * It starts anew after a connection that was of use: one that lasted, or brought a "ready". So a gateway that takes
 * each connection and drops it at once is not asked in a tight loop. Not thread-safe.
 */
class ReconnectDelay
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /** How long a connection has to last to be of use. */
    static constexpr std::chrono::seconds kLasting{10};

    void OnUp(Time now) { m_upSince = now; }
    void OnReady() { m_failures = 0; }

    /** An attempt failed, or a connection is at its end. @param random in [0, 1) */
    std::chrono::milliseconds OnDown(Time now, double random);

private:
    /** Attempts and connections since the latest one that was of use. */
    unsigned int m_failures = 0;
    std::optional<Time> m_upSince;
};
} // namespace Gatrix
