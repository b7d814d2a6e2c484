#include "DfsOpen.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
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
    kHelp
};

constexpr std::array<option, 7> kOptions = {{{"key", required_argument, nullptr, kKey},
                                             {"list", no_argument, nullptr, kList},
                                             {"extract", required_argument, nullptr, kExtract},
                                             {"cat", required_argument, nullptr, kCat},
                                             {"max-plain-size", required_argument, nullptr, kMaxPlainSize},
                                             {"help", no_argument, nullptr, kHelp},
                                             {nullptr, 0, nullptr, 0}}};

std::uint64_t ParseSize(const std::string& text)
{
    constexpr std::uint64_t kMost = std::uint64_t{1} << 50U;
    std::uint64_t size = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), size);
    if (error != std::errc() || end != text.data() + text.size() || size == 0 || size > kMost) {
        throw std::invalid_argument("--max-plain-size takes a number of bytes, not '" + text + "'");
    }
    return size;
}

} // namespace

Options ParseOptions(std::vector<std::string> arguments)
{
    std::string program = "dfs-open";
    std::vector<char*> words = {program.data()};
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);

    Options options;
    int actions = 0;
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
            case kKey:
                options.key = optarg;
                break;
            case kList:
                options.action = Action::kList;
                ++actions;
                break;
            case kExtract:
                options.action = Action::kExtract;
                options.folder = optarg;
                ++actions;
                break;
            case kCat:
                options.action = Action::kCat;
                options.subType = optarg;
                ++actions;
                break;
            case kMaxPlainSize:
                options.limits.plainSize = ParseSize(optarg);
                options.limits.totalPlainSize = std::max(options.limits.totalPlainSize, options.limits.plainSize);
                options.limits.plainRatio = 0;
                break;
            case kHelp:
                options.action = Action::kHelp;
                return options;
            case ':':
                throw std::invalid_argument(std::string(words[static_cast<std::size_t>(optind) - 1]) +
                                            " takes a value; see --help");
            default:
                throw std::invalid_argument("no option " + std::string(words[static_cast<std::size_t>(optind) - 1]) +
                                            "; see --help");
        }
    }
    if (actions > 1) {
        throw std::invalid_argument("only one of --list, --extract and --cat is possible; see --help");
    }
    if (count - optind != 1) {
        throw std::invalid_argument("one archive must be named; see --help");
    }
    options.archive = words[static_cast<std::size_t>(optind)];
    if (!options.key && (options.action == Action::kExtract || options.action == Action::kCat)) {
        throw std::invalid_argument("--extract and --cat need --key; see --help");
    }
    return options;
}

} // namespace DfsOpen
