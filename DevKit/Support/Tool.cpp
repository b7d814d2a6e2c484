#include "Tool.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <pthread.h>
#include <stdexcept>

int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& run)
{
    constexpr int kBadUsage = 2;
    const auto fail = [&app](const std::string& reason, int status) {
        std::cerr << app.get_name() << ": " << reason << std::endl;
        return status;
    };
    try {
        app.parse(argc, argv);
        return run();
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return 0;
    } catch (const CLI::ParseError& error) {
        return fail(error.what() + std::string("; see --help"), kBadUsage);
    } catch (const std::invalid_argument& error) {
        return fail(error.what(), kBadUsage);
    } catch (const std::exception& error) {
        return fail(error.what(), 1);
    }
}

int ServeUntilSignal(const std::function<std::shared_ptr<void>()>& start)
{
    // Blocked before any thread starts, so that the signals come to sigwait and nowhere else.
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);
    const std::shared_ptr<void> server = start();
    int received = 0;
    sigwait(&ends, &received);
    return 0;
}
