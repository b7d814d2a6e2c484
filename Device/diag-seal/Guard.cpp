#include "Guard.h"

#include "BlockedSignals.h"
#include "ErrorText.h"
#include "ProcessTree.h"

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace DiagSeal
{

namespace
{

using Clock = std::chrono::steady_clock;

// Returns whether the worker has ended in time, with its status as waitpid(2) has it.
bool AwaitWorker(pid_t worker, const sigset_t& signals, Clock::time_point end, int& status)
{
    while (waitpid(worker, &status, WNOHANG) == 0) {
        const auto left = std::chrono::ceil<std::chrono::seconds>(end - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        const timespec wait = {static_cast<time_t>(left.count()), 0};
        const int signal = sigtimedwait(&signals, nullptr, &wait);
        // CHLD may be that of a descendant whose parent has died. It makes the worker look once more, and no more.
        if (signal > 0) {
            kill(worker, signal);
        }
    }
    return true;
}

[[noreturn]] void Guard(pid_t worker, const sigset_t& signals, Clock::time_point end)
{
    int status = 0;
    const bool isInTime = AwaitWorker(worker, signals, end, status);
    ProcessTree::KillAll(std::chrono::seconds(1));
    if (isInTime && WIFEXITED(status)) {
        _exit(WEXITSTATUS(status));
    }
    const std::string_view line =
        isInTime ? "diag-seal: was killed\n" : "diag-seal: gave up, far beyond the time limit\n";
    const ssize_t ignored = write(STDERR_FILENO, line.data(), line.size());
    static_cast<void>(ignored);
    _exit(EXIT_FAILURE);
}

} // namespace

void WorkGuarded(std::chrono::milliseconds time)
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
        Guard(worker, signals, end);
    }
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != guard) {
        // The guard died before prctl(2).
        _exit(EXIT_FAILURE);
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    // A signal to the whole group then spares the worker, and one of the two is left to end the rest.
    setsid();
}

} // namespace DiagSeal
