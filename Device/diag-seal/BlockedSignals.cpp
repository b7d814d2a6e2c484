#include "BlockedSignals.h"

#include <initializer_list>

namespace DiagSeal
{

sigset_t BlockSignals()
{
    std::signal(SIGCHLD, SIG_DFL); // Ignored, it would take away the exit status.
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGTERM}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

} // namespace DiagSeal
