#include "CloudServer.h"
#include "Options.h"
#include "Script.h"

#include <pthread.h>

#include <csignal>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace
{

constexpr int kBadUsage = 2;

DiagCloud::CloudSettings SettingsFrom(const DiagCloud::Options& options)
{
    DiagCloud::CloudSettings settings;
    settings.port = options.port;
    settings.storeFolder = options.store;
    settings.maxBodySize = options.maxBodySize;
    settings.keepRequests = false;
    settings.writer = [](const std::string& line) { std::cout << line << std::endl; };
    if (options.script) {
        std::ifstream file(*options.script, std::ios::binary);
        if (!file.is_open()) {
            throw std::invalid_argument("cannot read the script " + *options.script);
        }
        const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        try {
            settings.script = DiagCloud::ParseScript(text);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument("the script " + *options.script + " is refused: " + error.what());
        }
    }
    return settings;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const DiagCloud::Options options = DiagCloud::ParseOptions({argv + 1, argv + argc});
        if (options.help) {
            std::cout << DiagCloud::kHelpText;
            return 0;
        }
        // Blocked before any thread starts, so that the signals come to sigwait and nowhere else.
        sigset_t ends;
        sigemptyset(&ends);
        sigaddset(&ends, SIGINT);
        sigaddset(&ends, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &ends, nullptr);

        DiagCloud::CloudServer server(SettingsFrom(options));
        std::cout << "diag-cloud listens on " << server.Url() << " and stores in " << options.store << std::endl;
        int received = 0;
        sigwait(&ends, &received);
        return 0;
    } catch (const std::invalid_argument& error) {
        std::cerr << "diag-cloud: " << error.what() << '\n';
        return kBadUsage;
    } catch (const std::exception& error) {
        std::cerr << "diag-cloud: " << error.what() << '\n';
        return 1;
    }
}
