#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <string_view>

namespace DiagSeal
{

/** What a child and its descendants may cost. */
struct SupervisorLimits
{
    std::chrono::milliseconds timeLimit; ///< For the child itself; then TERM goes to all.
    std::chrono::milliseconds killDelay; ///< From TERM to KILL.
    std::chrono::milliseconds grace;     ///< After the child's own end, for what is left behind and can still print.
    std::chrono::milliseconds toolTime;  ///< For a descendant that asks for a bound, see ToolBounds.
    int processes;                       ///< Descendants that live at one time.
};

/** How a child has ended. */
struct Outcome
{
    enum class Cause
    {
        Itself,
        TimeLimit,
        TooManyProcesses,
    };
    Cause cause = Cause::Itself;
    int status = 0;             ///< As waitpid(2) has it, when the child ended itself.
    std::string failure;        ///< What the task returned.
    bool hasLeftBehind = false; ///< After the child's own end, descendants still held the output or ignored TERM.
    bool hasUnkillable = false; ///< Some outlive even KILL.
};

/**
 * Runs a task in a child process with a session of its own. Its standard input is at its end, both output streams go to
 * one pipe, and signals are as a fresh process has them. When Run returns or throws, neither the child nor anything
 * that descends from it is left, whatever it has done to stay. Not thread-safe; for a process of one thread without
 * children.
 */
class Supervisor
{
public:
    /**
     * Runs in the child and becomes another program, or does the work and returns: nothing when it is done, else the
     * reason of its failure, of which 512 bytes are kept.
     */
    using Task = std::function<std::string()>;

    /** What this process does beside the task. What a step throws ends the child and passes on. */
    struct Steps
    {
        std::function<void()> prepare;                 ///< Called once, before the task begins.
        std::function<void()> meanwhile;               ///< Called once, right after the task has begun.
        std::function<void(std::string_view)> consume; ///< Gets what the child and its descendants print.
    };

    explicit Supervisor(const SupervisorLimits& limits) : m_limits(limits) {}

    /**
     * Forks the child, prepares, lets the child run the task, and watches it to its end. The fork comes first, as each
     * page that this process has written to by then makes it more expensive.
     *
     * Blocks for the time limit, the kill delay, the grace and 4 s at most, and for as long as the steps take.
     *
     * @throws std::runtime_error with the reason: nothing can be started, or HUP, INT or TERM has ended this process
     */
    Outcome Run(const Task& task, const Steps& steps) const;

private:
    SupervisorLimits m_limits;
};

} // namespace DiagSeal
