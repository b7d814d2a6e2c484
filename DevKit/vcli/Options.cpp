#include "Options.h"

#include "CommandLine.h"

const char kHelpText[] =
    R"(usage: vcli [OPTION...] [COMMAND...]

Sends a command to the service that offers it and prints the reply. `vcli help` lists the commands of all services.
Without a command it reads commands from standard input, one a line, with a prompt on a terminal; `quit` ends it.

  --timeout SECONDS   how long to wait for a reply (default 5)
  --wait[=SECONDS]    after the reply, wait for the next line that the service sends by itself, such as the outcome
                      of an upload, and print it; give up after SECONDS (default 900)
  --no-wait           end after the reply
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
enum Option
{
    kTimeout = 1,
    kWait,
    kNoWait,
};

std::chrono::seconds Seconds(const std::string& name, const std::string& argument)
{
    constexpr std::uint64_t kMaxSeconds = std::uint64_t{7} * 24 * 3600;
    return std::chrono::seconds(CommandLine::Number(name, argument, 1, kMaxSeconds));
}
} // namespace

Options ParseOptions(std::vector<std::string> arguments)
{
    Options options;
    options.words = CommandLine::TakeOptions(
        std::move(arguments),
        {{"timeout", required_argument, nullptr, kTimeout},
         {"wait", optional_argument, nullptr, kWait},
         {"no-wait", no_argument, nullptr, kNoWait},
         {"help", no_argument, nullptr, CommandLine::kHelp}},
        CommandLine::Words::kLast, [&options](int option, const std::string& argument) {
            switch (option) {
                case kTimeout:
                    options.timeout = Seconds("--timeout", argument);
                    break;
                case kWait:
                    options.wait = Options::Wait::Always;
                    options.waitTimeout = argument.empty() ? options.waitTimeout : Seconds("--wait", argument);
                    break;
                case kNoWait:
                    options.wait = Options::Wait::Never;
                    break;
                default:
                    options.showHelp = true;
            }
        });
    return options;
}
