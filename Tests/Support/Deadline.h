#pragma once

#include <chrono>
#include <functional>
#include <thread>

/** How long a test waits for an event that must come. Far more than it takes, so that a slow machine fails no test. */
constexpr std::chrono::seconds kDeadline(TEST_DEADLINE);

/** Waits, in small steps, for a condition that no event announces. False when it did not come true by the deadline. */
inline bool WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds deadline = kDeadline)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
