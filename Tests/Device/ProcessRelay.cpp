// process-relay CHAINS [stay]: so many chains of processes, each of which starts the next one and ends. The next one
// makes a session of its own, or stays in that of all. None heeds TERM. What nothing has killed ends by itself after
// twenty seconds.

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <unistd.h>

int main(int count, char** arguments)
{
    const bool stays = count > 2;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    const auto isOver = [end] { return std::chrono::steady_clock::now() >= end; };
    std::signal(SIGTERM, SIG_IGN);
    for (int chains = std::atoi(arguments[1]); chains > 0; --chains) {
        if (fork() != 0) {
            continue;
        }
        while (!isOver()) {
            const pid_t next = fork();
            if (next > 0) {
                _exit(0);
            }
            if (next == 0 && !stays) {
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
