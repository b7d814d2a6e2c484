#include "StartEnvironment.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace DiagnosticFileSvc
{
void SanitizeStartEnvironment()
{
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        // Those below are open, so the lowest free number is this one.
        if (fcntl(descriptor, F_GETFD) == -1 && open("/dev/null", O_RDWR) == -1) {
            throw std::system_error(errno, std::generic_category(), "cannot open /dev/null");
        }
    }
    for (const int signal : {SIGCHLD, SIGTERM, SIGUSR1, SIGUSR2, SIGALRM}) {
        std::signal(signal, SIG_DFL);
    }
    // Not ignored, which commands would inherit.
    std::signal(SIGXFSZ, [](int) {});
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}
} // namespace DiagnosticFileSvc
