#include "StartEnvironment.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace DiagSeal
{

namespace
{

void CloseInherited()
{
    std::vector<int> inherited;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        inherited.push_back(std::atoi(entry.path().filename().c_str()));
    }
    for (const int descriptor : inherited) {
        if (descriptor > STDERR_FILENO) {
            close(descriptor);
        }
    }
}

// Leaves one descriptor more, which goes with the inherited ones.
void OpenStandardDescriptors()
{
    const bool hasOutput = fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
        descriptor = open("/dev/null", O_RDWR);
    }
    if (!hasOutput) {
        throw std::runtime_error("standard output is closed");
    }
}

// Exits as the process does.
[[noreturn]] void Follow(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE);
}

void LeaveInheritedChildren()
{
    // If it were ignored, the exit status would be lost.
    std::signal(SIGCHLD, SIG_DFL);
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    if (waitpid(-1, nullptr, WNOHANG) != 0) {
        return;
    }
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process can be started");
    }
    if (child > 0) {
        Follow(child);
    }
    prctl(PR_SET_PDEATHSIG, SIGTERM);
}

} // namespace

void PrepareProcess()
{
    // A core dump would hold what is not masked yet.
    prctl(PR_SET_DUMPABLE, 0);
    OpenStandardDescriptors();
    CloseInherited();
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        // Writing fails instead.
        std::signal(signal, SIG_IGN);
    }
    LeaveInheritedChildren();
}

} // namespace DiagSeal
