#include "CloudServer.h"
#include "FileDescriptor.h"
#include "Script.h"
#include "Tool.h"

#include <fcntl.h>
#include <iostream>
#include <stdexcept>

namespace
{

std::vector<DiagCloud::Outcome> ReadScript(const std::string& path)
{
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (!file || !file.ReadAll(text)) {
        throw std::invalid_argument("cannot read the script " + path);
    }
    try {
        return DiagCloud::ParseScript(text);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument("the script " + path + " is refused: " + error.what());
    }
}

} // namespace

int main(int argc, char** argv)
{
    constexpr std::uint64_t kLargestBody = std::uint64_t{1} << 40U;
    DiagCloud::CloudSettings settings;
    settings.port = 8888;
    settings.storeFolder = "diag-cloud-store";
    settings.keepRequests = false;
    settings.writer = [](const std::string& line) { std::cout << line << std::endl; };
    std::string script;

    CLI::App app(
        "Stands in for the cloud's diagnostics service and for the proxy on the way to it: takes metadata and\n"
        "archives, stores them and prints a line for each request. Listens on 127.0.0.1 and ::1 only. Ends on SIGINT\n"
        "or SIGTERM.",
        "diag-cloud");
    AddNumberOption(app, "--port", settings.port, 0, kLargestPort, "PORT", "port to listen on; 0 takes any");
    app.add_option("--store", settings.storeFolder, "where metadata and archives are stored; made if it is not there")
        ->type_name("DIR")
        ->capture_default_str();
    app.add_option("--script", script,
                   "a JSON array of outcomes that befall the first requests, such as failures that a client retries")
        ->type_name("FILE");
    AddNumberOption(app, "--max-body-size", settings.maxBodySize, 0, kLargestBody, "BYTES",
                    "largest request body that is accepted");

    return RunTool(app, argc, argv, [&] {
        if (!script.empty()) {
            settings.script = ReadScript(script);
        }
        return ServeUntilSignal([&] {
            auto server = std::make_shared<DiagCloud::CloudServer>(settings);
            std::cout << "diag-cloud listens on " << server->Url() << " and stores in " << settings.storeFolder
                      << std::endl;
            return server;
        });
    });
}
