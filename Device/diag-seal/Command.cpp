#include "Command.h"

#include "ErrorText.h"
#include "Options.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace DiagSeal
{

namespace
{

constexpr rlim_t kMemory = 256U << 20U;
constexpr rlim_t kFileSize = 64U << 20U;
// Of all that the account runs, if it is not root. The supervisor counts those of the command.
constexpr rlim_t kAccountProcesses = 512;
// From -1000 to 1000, see proc(5).
constexpr char kOomScore[] = "500";

// A lower limit that is there already stays.
template <typename Resource>
void Limit(Resource resource, rlim_t most)
{
    rlimit limit = {};
    if (getrlimit(resource, &limit) == 0) {
        limit.rlim_max = std::min(limit.rlim_max, most);
        limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max);
        setrlimit(resource, &limit);
    }
}

void OfferToOomKiller()
{
    // Otherwise the file belongs to root. execve(2) resets this for the command.
    prctl(PR_SET_DUMPABLE, 1);
    const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
    if (file >= 0) {
        const ssize_t ignored = write(file, kOomScore, sizeof(kOomScore) - 1);
        static_cast<void>(ignored);
        close(file);
    }
}

} // namespace

std::string BecomeCommand(const Options& options)
{
    const std::vector<std::string>& words = options.words;
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    const auto toolTime = std::chrono::ceil<std::chrono::seconds>(options.toolTime);
    // NOLINTBEGIN(concurrency-mt-unsafe): this process has one thread
    setenv("DIAG_SEAL_PID", std::to_string(getppid()).c_str(), 1);
    setenv("DIAG_SEAL_TOOL_SECONDS", std::to_string(toolTime.count()).c_str(), 1);
    // NOLINTEND(concurrency-mt-unsafe)
    OfferToOomKiller();
    // From here on, this process may not have the memory for more.
    // RLIMIT_DATA counts what a program can write to; RLIMIT_AS would count the large files and journals it maps as
    // well.
    Limit(RLIMIT_DATA, kMemory);
    Limit(RLIMIT_FSIZE, kFileSize);
    Limit(RLIMIT_CORE, 0);
    Limit(RLIMIT_NPROC, kAccountProcesses);
    execvp(arguments.front(), arguments.data());
    return words.front() + ": " + ErrorText();
}

} // namespace DiagSeal
