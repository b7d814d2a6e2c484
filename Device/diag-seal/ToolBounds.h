#pragma once

#include <chrono>
#include <csignal>
#include <sys/types.h>
#include <vector>

namespace DiagSeal
{

/**
 * Ends tools that hang. A report runs one tool after the other, each of which may take some time and no more. So a
 * process of the report asks for a bound: it sends kSignal to the supervising process, and then becomes the tool. That
 * costs no process, unlike timeout(1). Not thread-safe.
 */
class ToolBounds
{
public:
    /** SIGRTMAX. Real-time signals are queued, see signal(7): two requests at the same time remain two. */
    static constexpr int kSignal = 64;

    /**
     * What the tool's parent gets if even KILL does not end the tool, as it waits for a dead device. A shell that traps
     * it waits no longer; to others it means nothing, see signal(7).
     */
    static constexpr int kWakeSignal = SIGURG;

    /** @param time that a tool may take, from its request */
    explicit ToolBounds(std::chrono::milliseconds time);

    /**
     * Takes a request. The latest 64 tools count, which are far more than a report runs at one time.
     * @param pid the sender's, see signalfd(2)
     */
    void Add(pid_t pid);

    /**
     * Forgets tools that have ended, kills those whose time is over, with what they have started, and wakes who waits
     * for one that is there a second later. To be called after each ProcessTree::Count, and often: the number of a
     * process that has ended may soon be another's.
     */
    void Check();

private:
    struct Tool
    {
        pid_t pid;
        std::chrono::steady_clock::time_point end;
        bool isKilled;
    };

    const std::chrono::milliseconds m_time;
    std::vector<Tool> m_tools; ///< In the order of their requests.
};

} // namespace DiagSeal
