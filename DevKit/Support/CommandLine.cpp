#include "CommandLine.h"

#include <charconv>
#include <stdexcept>

namespace CommandLine
{

std::vector<std::string> TakeOptions(std::vector<std::string> arguments, std::vector<option> options, Words words,
                                     const std::function<void(int option, const std::string& argument)>& take)
{
    std::string program;
    std::vector<char*> pointers = {program.data()};
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    const int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    options.push_back({nullptr, 0, nullptr, 0});

    const std::string shortOptions = words == Words::kLast ? "+:h" : ":h";
    optind = 0; // has getopt begin anew
    opterr = 0;
    int found = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the contract says one thread at a time
    while ((found = getopt_long(count, pointers.data(), shortOptions.c_str(), options.data(), nullptr)) != -1) {
        if (found == ':' || found == '?') {
            // Within a word of several short options, getopt has not yet gone past that word.
            const bool isShort = optopt >= ' ' && optopt != kHelp;
            const std::string name = isShort ? std::string{'-', static_cast<char>(optopt)} : pointers[optind - 1];
            throw std::invalid_argument((found == ':' ? name + " takes a value" : "no option " + name) +
                                        "; see --help");
        }
        take(found, optarg == nullptr ? "" : optarg);
    }
    return {pointers.begin() + optind, pointers.end() - 1};
}

std::uint64_t Number(const std::string& name, const std::string& argument, std::uint64_t least, std::uint64_t most)
{
    std::uint64_t number = 0;
    const char* const last = argument.data() + argument.size();
    const auto [end, error] = std::from_chars(argument.data(), last, number);
    if (error != std::errc() || end != last || number < least || number > most) {
        throw std::invalid_argument(name + " takes a number from " + std::to_string(least) + " to " +
                                    std::to_string(most) + ", not '" + argument + "'");
    }
    return number;
}

std::uint16_t Port(const std::string& argument)
{
    constexpr std::uint64_t kLargestPort = 65535;
    return static_cast<std::uint16_t>(Number("--port", argument, 0, kLargestPort));
}

void RefuseWords(const std::vector<std::string>& words)
{
    if (!words.empty()) {
        throw std::invalid_argument("no argument " + words[0] + " is known; see --help");
    }
}

} // namespace CommandLine
