#include "ServeUntilSignal.h"

#include <pthread.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>

int ServeUntilSignal(const std::string& program, const std::function<std::shared_ptr<void>()>& start)
{
    constexpr int kBadUsage = 2;
    // Blocked before any thread starts, so that the signals come to sigwait and nowhere else.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    try {
        const std::shared_ptr<void> server = start();
        if (server) {
            int received = 0;
            sigwait(&ends, &received);
        }
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << program << ": " << error.what() << '\n';
        return kBadUsage;
    } catch (const std::exception& error) {
        std::cerr << program << ": " << error.what() << '\n';
        return 1;
    }
}
