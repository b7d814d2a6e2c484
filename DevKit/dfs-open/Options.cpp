#include "DfsOpen.h"

#include "CommandLine.h"

#include <limits>
#include <stdexcept>

namespace DfsOpen
{

namespace
{

enum Option
{
    kKey = 1,
    kList,
    kExtract,
    kCat,
    kMaxPlainSize,
};

constexpr std::uint64_t kLargestPlainSize = std::uint64_t{1} << 50U;

} // namespace

Options ParseOptions(std::vector<std::string> arguments)
{
    Options options;
    int actions = 0;
    bool isHelp = false;
    const auto words = CommandLine::TakeOptions(
        std::move(arguments),
        {{"key", required_argument, nullptr, kKey},
         {"list", no_argument, nullptr, kList},
         {"extract", required_argument, nullptr, kExtract},
         {"cat", required_argument, nullptr, kCat},
         {"max-plain-size", required_argument, nullptr, kMaxPlainSize},
         {"help", no_argument, nullptr, CommandLine::kHelp}},
        CommandLine::Words::kAnywhere, [&](int option, const std::string& argument) {
            switch (option) {
                case kKey:
                    options.key = argument;
                    break;
                case kList:
                    options.action = Action::kList;
                    ++actions;
                    break;
                case kExtract:
                    options.action = Action::kExtract;
                    options.folder = argument;
                    ++actions;
                    break;
                case kCat:
                    options.action = Action::kCat;
                    options.subType = argument;
                    ++actions;
                    break;
                case kMaxPlainSize:
                    options.limits.plainSize = CommandLine::Number("--max-plain-size", argument, 1, kLargestPlainSize);
                    options.limits.totalSize = std::numeric_limits<std::uint64_t>::max();
                    options.limits.processorSeconds = std::numeric_limits<std::uint64_t>::max();
                    break;
                default:
                    isHelp = true;
            }
        });
    if (isHelp) {
        options.action = Action::kHelp;
        return options;
    }
    if (actions > 1) {
        throw std::invalid_argument("only one of --list, --extract and --cat is possible; see --help");
    }
    if (words.size() != 1) {
        throw std::invalid_argument("one archive must be named; see --help");
    }
    options.archive = words[0];
    if (!options.key && (options.action == Action::kExtract || options.action == Action::kCat)) {
        throw std::invalid_argument("--extract and --cat need --key; see --help");
    }
    return options;
}

} // namespace DfsOpen
