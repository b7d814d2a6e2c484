#include "OutcomeLines.h"

#include "Options.h"
#include "Supervisor.h"

#include <cstring>
#include <sys/wait.h>

namespace DiagSeal
{

namespace
{

// In seconds, with a fraction only if there is one.
std::string Seconds(std::chrono::milliseconds time)
{
    constexpr int kMilliseconds = 1000;
    std::string text = std::to_string(time.count() / kMilliseconds);
    if (time.count() % kMilliseconds != 0) {
        text += '.' + std::to_string(kMilliseconds + time.count() % kMilliseconds).substr(1);
    }
    return text + " seconds";
}

std::string OwnEnd(const Outcome& outcome, bool isFile)
{
    if (WIFSIGNALED(outcome.status)) {
        const int signal = WTERMSIG(outcome.status);
        // NOLINTNEXTLINE(concurrency-mt-unsafe): this program has one thread
        return " was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ')';
    }
    const int status = WEXITSTATUS(outcome.status);
    if (status == 0) {
        return "";
    }
    const std::string reason = outcome.failure.empty() ? "" : ": " + outcome.failure;
    if (isFile) {
        return " ended early" + reason;
    }
    return " ended with exit status " + std::to_string(status) + reason;
}

} // namespace

std::string OutcomeLines(const Options& options, const Outcome& outcome)
{
    const bool isFile = options.job == Job::SealFile;
    std::string end;
    switch (outcome.cause) {
        case Outcome::Cause::Itself:
            end = OwnEnd(outcome, isFile);
            break;
        case Outcome::Cause::TimeLimit:
            end = " was ended after " + Seconds(options.timeLimit);
            break;
        case Outcome::Cause::TooManyProcesses:
            end = " was ended: it had more than " + std::to_string(options.processes) + " processes";
            break;
    }
    std::string lines;
    const auto add = [&lines](const std::string& line) { lines += "diag-seal: " + line + '\n'; };
    if (outcome.hasLeftBehind) {
        add("what the command left behind was ended");
    }
    if (outcome.hasUnkillable) {
        add("some processes could not be ended, not even by KILL");
    }
    if (!end.empty()) {
        add((isFile ? "the reading" : "the command") + end);
    }
    return lines;
}

} // namespace DiagSeal
