#include "Options.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace DiagSeal
{

namespace
{

constexpr std::uint64_t kCommandSize = 16U << 20U;
constexpr std::uint64_t kFileSize = 64U << 20U;

void AddSeconds(CLI::App& app, const std::string& name, std::chrono::milliseconds& value, const std::string& help)
{
    constexpr double kLeast = 0.001;
    constexpr double kMost = 3600;
    constexpr double kMilliseconds = 1000;
    app.add_option_function<double>(
           name,
           [&value, name](double seconds) {
               if (std::isnan(seconds)) { // CLI::Range lets it pass
                   throw CLI::ValidationError(name, "is not a number");
               }
               value = std::chrono::milliseconds(std::int64_t(seconds * kMilliseconds));
           },
           help + " [" + std::to_string(value.count() / std::int64_t(kMilliseconds)) + "]")
        ->check(CLI::Range(kLeast, kMost))
        ->type_name("SECONDS");
}

void AddBounds(CLI::App& app, Options& options)
{
    constexpr std::uint64_t kLeastSize = 1024;
    constexpr std::uint64_t kMostSize = std::uint64_t{1} << 40U;
    AddSeconds(app, "--time-limit", options.timeLimit, "end it after that time");
    AddSeconds(app, "--kill-delay", options.killDelay, "from TERM to KILL");
    app.add_option("--size", options.size, "bytes of content at most; what is over is left out of the middle")
        ->check(CLI::Range(kLeastSize, kMostSize))
        ->type_name("BYTES");
}

std::string Words(const std::vector<std::string>& arguments, std::vector<std::string>::const_iterator end)
{
    std::string names;
    for (auto word = arguments.begin(); word != end; ++word) {
        names += ' ' + *word;
    }
    return names;
}

std::vector<std::string> WithoutScript(std::vector<std::string> arguments)
{
    const std::string suffix = "-script";
    if (arguments.size() >= 2 && arguments[0].size() > suffix.size()) {
        const std::size_t length = arguments[0].size() - suffix.size();
        if (arguments[0].substr(length) == suffix) {
            arguments[0].resize(length);
            arguments[1] = "--";
        }
    }
    return arguments;
}

} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& commandLine)
{
    const std::vector<std::string> arguments = WithoutScript(commandLine);
    Options options;
    CLI::App app(
        "Seals what a command prints, a file or a text: gzip in CMS EnvelopedData, on standard output.\n"
        "What is sealed follows the word --.",
        "diag-seal");
    app.add_option("--certificate", options.certificate, "the recipient's certificate, in PEM")
        ->capture_default_str()
        ->type_name("FILE");
    app.require_subcommand(1);
    CLI::App& command = *app.add_subcommand("command", "seal what a command prints on both streams; 16 MiB at most");
    AddBounds(command, options);
    AddSeconds(command, "--grace", options.grace,
               "for what the command leaves behind to end by itself, while it can print");
    AddSeconds(command, "--tool-limit", options.toolTime, "end a tool that has asked for a bound after that time");
    constexpr int kMostProcesses = 1024; // which die within the time for killing, on a busy machine, too
    command.add_option("--processes", options.processes, "of the command and all its descendants, at most")
        ->capture_default_str()
        ->check(CLI::Range(1, kMostProcesses))
        ->type_name("NUMBER");
    CLI::App& file = *app.add_subcommand("file", "seal the content of a regular file; 64 MiB at most");
    AddBounds(file, options);
    app.add_subcommand("text", "seal a text; several words are joined with blanks");
    for (CLI::App* subcommand : app.get_subcommands({})) {
        subcommand->footer("The command, path or text follows --.");
    }

    const auto mark = std::find(arguments.begin(), arguments.end(), "--");
    try {
        app.parse(std::vector<std::string>(std::make_reverse_iterator(mark), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        std::fputs(app.help().c_str(), stdout);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw std::invalid_argument(std::string(error.what()) + "; see --help (given:" + Words(arguments, mark) + ")");
    }
    options.words.assign(mark == arguments.end() ? mark : mark + 1, arguments.end());
    options.job = command.parsed() ? Job::SealCommand : file.parsed() ? Job::SealFile : Job::SealText;
    const bool isCommand = options.job == Job::SealCommand;
    if (isCommand && !options.words.empty() && options.words.front() == "--") {
        options.words.erase(options.words.begin());
    }
    if (options.size == 0) {
        options.size = isCommand ? kCommandSize : kFileSize;
    }
    if (options.words.empty()) {
        throw std::invalid_argument("nothing is named after --; see --help");
    }
    if (options.words.size() > 1 && !isCommand && options.job != Job::SealText) {
        throw std::invalid_argument("one path is expected, " + std::to_string(options.words.size()) + " are given");
    }
    return options;
}

} // namespace DiagSeal
