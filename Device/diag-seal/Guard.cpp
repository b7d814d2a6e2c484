#include "Guard.h"

#include "BlockedSignals.h"
#include "ErrorText.h"
#include "Notice.h"
#include "ProcessTree.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

using Clock = std::chrono::steady_clock;

// Returns nothing when the worker has ended, with its status as waitpid(2) has it; else when this has given it up.
std::string AwaitWorker(pid_t worker, const sigset_t& signals, Clock::time_point end,
                        std::chrono::milliseconds stopTime, int& status)
{
    std::string when = "far beyond the time limit";
    while (waitpid(worker, &status, WNOHANG) == 0) {
        const auto left = std::chrono::ceil<std::chrono::seconds>(end - Clock::now());
        if (left.count() <= 0) {
            return when;
        }
        const timespec wait = {static_cast<time_t>(left.count()), 0};
        const int signal = sigtimedwait(&signals, nullptr, &wait);
        // CHLD may be that of a descendant whose parent has died. It makes the worker look once more, and no more.
        if (signal > 0) {
            kill(worker, signal);
        }
        if (signal > 0 && signal != SIGCHLD && Clock::now() + stopTime < end) {
            end = Clock::now() + stopTime;
            when = "after signal " + std::to_string(signal);
        }
    }
    return "";
}

[[noreturn]] void Guard(pid_t worker, const sigset_t& signals, Clock::time_point end,
                        std::chrono::milliseconds stopTime)
{
    int status = 0;
    const std::string when = AwaitWorker(worker, signals, end, stopTime, status);
    ProcessTree::KillAll(std::chrono::seconds(1));
    if (when.empty() && WIFEXITED(status)) {
        _exit(WEXITSTATUS(status));
    }
    TellFailure(when.empty() ? "was killed" : "gave up, " + when);
    _exit(EXIT_FAILURE);
}

} // namespace

void WorkGuarded(std::chrono::milliseconds time, std::chrono::milliseconds stopTime)
{
    const auto end = Clock::now() + time;
    const pid_t guard = getpid();
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
        throw std::runtime_error("no sub-reaper: " + ErrorText());
    }
    const sigset_t signals = BlockSignals();
    const pid_t worker = fork();
    if (worker < 0) {
        throw std::runtime_error("no process can be started: " + ErrorText());
    }
    if (worker > 0) {
        Guard(worker, signals, end, stopTime);
    }
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != guard) {
        // The guard died before prctl(2).
        _exit(EXIT_FAILURE);
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    // A signal to the whole group then spares the worker, and one of the two is left to end the rest.
    setsid();
    // The command may have stopped the guard.
    std::atexit([] { kill(getppid(), SIGCONT); });
}

} // namespace DiagSeal
