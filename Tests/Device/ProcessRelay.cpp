// process-relay CHAINS: so many chains of processes, each of which starts the next one, in a session of its own, and
// ends. None heeds TERM. What nothing has killed ends by itself after twenty seconds.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <unistd.h>

int main(int, char** argv)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto isOver = [end] { return std::chrono::steady_clock::now() >= end; };
    std::signal(SIGTERM, SIG_IGN);
    for (int chains = std::atoi(argv[1]); chains > 0; --chains) {
        if (fork() != 0) {
            continue;
        }
        while (!isOver()) {
            const pid_t next = fork();
            if (next > 0) {
                _exit(0);
            }
            if (next == 0) {
                setsid();
            }
        }
        _exit(0);
    }
    while (!isOver()) {
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    return 0;
}
