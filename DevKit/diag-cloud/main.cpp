#include "CloudServer.h"
#include "Options.h"
#include "Script.h"
#include "ServeUntilSignal.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace
{

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
    return ServeUntilSignal("diag-cloud", [&]() -> std::shared_ptr<void> {
        const DiagCloud::Options options = DiagCloud::ParseOptions({argv + 1, argv + argc});
        if (options.help) {
            std::cout << DiagCloud::kHelpText;
            return nullptr;
        }
        auto server = std::make_shared<DiagCloud::CloudServer>(SettingsFrom(options));
        std::cout << "diag-cloud listens on " << server->Url() << " and stores in " << options.store << std::endl;
        return server;
    });
}
