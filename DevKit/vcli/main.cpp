#include "CommandLoop.h"
#include "Console.h"
#include "Tool.h"

#include <stdexcept>

namespace
{
constexpr char kFooter[] =
    R"(With neither --wait nor --no-wait it waits if the reply ends in "Triggered", except at a prompt: there such lines show
whenever they come.

Words may be quoted as in a shell. Exit status, with several commands that of the first one that failed:

  0  the command was answered, and its outcome came if it was waited for
  1  no service can be reached
  2  wrong usage
  3  no service offers the command
  4  the service sent no reply in time
  5  the service's handler failed: no reply will come
  6  the service closed the connection before it answered or told the outcome
  7  the outcome did not come in time)";
} // namespace

int main(int argc, char** argv)
{
    constexpr int kMostSeconds = 7 * 24 * 3600;
    Vcli::Options options;
    int timeout = static_cast<int>(options.timeout.count());
    int waitTimeout = 0;
    CLI::App app(
        "Sends a command, the words behind the options, to the service that offers it and prints the reply.\n"
        "`vcli help` lists the commands of all services. Without a command it reads commands from standard input,\n"
        "one a line, with a prompt on a terminal; `quit` ends it.",
        "vcli");
    app.prefix_command();
    app.footer(kFooter);
    AddNumberOption(app, "--timeout", timeout, 1, kMostSeconds, "SECONDS", "how long to wait for a reply");
    CLI::Option* const wait =
        app.add_flag(
               "--wait{900}", waitTimeout,
               "after the reply, wait for the next line that the service sends by itself, such as the outcome of\n"
               "an upload, and print it; give up after 900 seconds, or as many as --wait=SECONDS tells")
            ->check(CLI::Range(1, kMostSeconds));
    CLI::Option* const noWait = app.add_flag("--no-wait", "end after the reply")->excludes(wait);

    return RunTool(app, argc, argv, [&] {
        const std::vector<std::string> words = app.remaining();
        if (!words.empty() && words.front()[0] == '-') {
            throw std::invalid_argument("there is no option " + words.front() + "; see --help");
        }
        options.timeout = std::chrono::seconds(timeout);
        if (!wait->empty()) {
            options.isWaiting = true;
            options.waitTimeout = std::chrono::seconds(waitTimeout);
        } else if (!noWait->empty()) {
            options.isWaiting = false;
        }
        return static_cast<int>(words.empty() ? Vcli::RunCommandLoop(options)
                                              : Vcli::Console(options, false).Run(words));
    });
}
