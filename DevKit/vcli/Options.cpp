#include "Options.h"

#include <charconv>

const char kHelpText[] =
    R"(usage: vcli [OPTION...] [COMMAND...]

Sends a command to the service that offers it and prints the reply. `vcli help` lists the commands of all services.
Without a command it reads commands from standard input, one a line, with a prompt on a terminal; `quit` ends it.

  --timeout SECONDS   how long to wait for a reply (5)
  --wait[=SECONDS]    after the reply, wait for the next line that the service sends by itself, such as the outcome
                      of an upload, and print it; for so long (900)
  --no-wait           do not
  --help              show this text

With neither --wait nor --no-wait it waits if the reply ends in "Triggered", except at a prompt: there such lines show
whenever they come.

Words may be quoted as in a shell. Exit status, with several commands that of the first one that failed:

  0  the command was answered, and its outcome came if it was waited for
  1  no service can be reached
  2  wrong usage
  3  no service offers the command
  4  the service sent no reply in time
  5  the service's handler failed: no reply will come
  6  the service closed the connection before it answered or told the outcome
  7  the outcome did not come in time
)";

namespace
{
std::optional<std::chrono::seconds> Seconds(const std::string& text)
{
    constexpr int kMaxSeconds = 7 * 24 * 3600;
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < 1 || value > kMaxSeconds) {
        return std::nullopt;
    }
    return std::chrono::seconds(value);
}
} // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, std::string& error)
{
    const std::string timeoutPrefix = "--timeout=";
    const std::string waitPrefix = "--wait=";
    Options options;
    auto next = arguments.begin();
    for (; next != arguments.end() && next->compare(0, 1, "-") == 0; ++next) {
        std::optional<std::chrono::seconds> seconds;
        if (*next == "--") {
            ++next;
            break;
        }
        if (*next == "--help" || *next == "-h") {
            options.showHelp = true;
        } else if (*next == "--wait") {
            options.wait = Options::Wait::Always;
        } else if (*next == "--no-wait") {
            options.wait = Options::Wait::Never;
        } else if (next->compare(0, waitPrefix.size(), waitPrefix) == 0 &&
                   (seconds = Seconds(next->substr(waitPrefix.size())))) {
            options.wait = Options::Wait::Always;
            options.waitTimeout = *seconds;
        } else if (next->compare(0, timeoutPrefix.size(), timeoutPrefix) == 0 &&
                   (seconds = Seconds(next->substr(timeoutPrefix.size())))) {
            options.timeout = *seconds;
        } else if (*next == "--timeout" && next + 1 != arguments.end() && (seconds = Seconds(*(next + 1)))) {
            options.timeout = *seconds;
            ++next;
        } else {
            error = "cannot make sense of " + *next;
            return std::nullopt;
        }
    }
    options.words.assign(next, arguments.end());
    return options;
}
