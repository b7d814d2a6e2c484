#include "Options.h"

#include "CommandLine.h"

namespace DiagCloud
{

namespace
{

enum Option
{
    kPort = 1,
    kStore,
    kScript,
    kMaxBodySize,
};

constexpr std::uint64_t kLargestBody = std::uint64_t{1} << 40U;

} // namespace

const char* const kHelpText =
    R"(usage: diag-cloud [--port PORT] [--store DIR] [--script FILE] [--max-body-size BYTES]

Stands in for the cloud's diagnostics service and for the proxy on the way to it: takes metadata and archives, stores
them and prints a line for each request. Listens on 127.0.0.1 and ::1 only. Ends on SIGINT or SIGTERM.

  --port PORT            port to listen on (default 8888); 0 takes any
  --store DIR            where metadata and archives are stored (default diag-cloud-store); made if it is not there
  --script FILE          a JSON array of outcomes that befall the first requests, such as failures that a client retries
  --max-body-size BYTES  largest request body that is accepted (default 1 GiB)
  --help                 show this text
)";

Options ParseOptions(std::vector<std::string> arguments)
{
    Options options;
    const auto words = CommandLine::TakeOptions(
        std::move(arguments),
        {{"port", required_argument, nullptr, kPort},
         {"store", required_argument, nullptr, kStore},
         {"script", required_argument, nullptr, kScript},
         {"max-body-size", required_argument, nullptr, kMaxBodySize},
         {"help", no_argument, nullptr, CommandLine::kHelp}},
        CommandLine::Words::kAnywhere, [&options](int option, const std::string& argument) {
            switch (option) {
                case kPort:
                    options.port = CommandLine::Port(argument);
                    break;
                case kStore:
                    options.store = argument;
                    break;
                case kScript:
                    options.script = argument;
                    break;
                case kMaxBodySize:
                    options.maxBodySize = CommandLine::Number("--max-body-size", argument, 0, kLargestBody);
                    break;
                default:
                    options.help = true;
            }
        });
    if (!options.help) {
        CommandLine::RefuseWords(words);
    }
    return options;
}

} // namespace DiagCloud
