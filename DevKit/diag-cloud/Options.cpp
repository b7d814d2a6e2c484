#include "Options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <stdexcept>

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
    kHelp
};

constexpr std::array<option, 6> kOptions = {{{"port", required_argument, nullptr, kPort},
                                             {"store", required_argument, nullptr, kStore},
                                             {"script", required_argument, nullptr, kScript},
                                             {"max-body-size", required_argument, nullptr, kMaxBodySize},
                                             {"help", no_argument, nullptr, kHelp},
                                             {nullptr, 0, nullptr, 0}}};

constexpr std::uint64_t kLargestPort = 65535;
constexpr std::uint64_t kLargestBody = std::uint64_t{1} << 40U;

std::uint64_t ParseNumber(const std::string& name, const std::string& text, std::uint64_t most)
{
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number > most) {
        throw std::invalid_argument(name + " takes a number from 0 to " + std::to_string(most) + ", not '" + text +
                                    "'");
    }
    return number;
}

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
    std::string program = "diag-cloud";
    std::vector<char*> words = {program.data()};
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);

    Options options;
    optind = 0; // has getopt begin anew
    opterr = 0;
    const int count = static_cast<int>(words.size()) - 1;
    for (;;) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the contract says one thread at a time
        const int found = getopt_long(count, words.data(), ":", kOptions.data(), nullptr);
        if (found == -1) {
            break;
        }
        switch (found) {
            case kPort:
                options.port = static_cast<std::uint16_t>(ParseNumber("--port", optarg, kLargestPort));
                break;
            case kStore:
                options.store = optarg;
                break;
            case kScript:
                options.script = optarg;
                break;
            case kMaxBodySize:
                options.maxBodySize = ParseNumber("--max-body-size", optarg, kLargestBody);
                break;
            case kHelp:
                options.help = true;
                return options;
            case ':':
                throw std::invalid_argument(std::string(words[static_cast<std::size_t>(optind) - 1]) +
                                            " takes a value; see --help");
            default:
                throw std::invalid_argument("no option " + std::string(words[static_cast<std::size_t>(optind) - 1]) +
                                            "; see --help");
        }
    }
    if (optind < count) {
        throw std::invalid_argument("no argument " + std::string(words[static_cast<std::size_t>(optind)]) +
                                    " is known; see --help");
    }
    return options;
}

} // namespace DiagCloud
