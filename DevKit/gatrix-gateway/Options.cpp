#include "Options.h"

#include <utility>

#include "CommandLine.h"

namespace GatrixGateway
{

namespace
{

enum Option
{
    kPort = 1,
    kVerbose,
};

} // namespace

const char* const kHelpText =
    R"(usage: gatrix-gateway [--port PORT] [--verbose]

Stands in for the product's local API gateway: passes requests, answers and notifications between the services that
connect to it by WebSocket, and prints a line for each client that comes or goes, each registration and each refusal.
Listens on 127.0.0.1 and ::1 only. Ends on SIGINT or SIGTERM.

  --port PORT   port to listen on (default 8084); 0 takes any
  --verbose     print each frame too: ">" marks what a client sent, "<" what it was sent
  --help        show this text
)";

Options ParseOptions(std::vector<std::string> arguments)
{
    Options options;
    const auto words =
        CommandLine::TakeOptions(std::move(arguments),
                                 {{"port", required_argument, nullptr, kPort},
                                  {"verbose", no_argument, nullptr, kVerbose},
                                  {"help", no_argument, nullptr, CommandLine::kHelp}},
                                 CommandLine::Words::kAnywhere, [&options](int option, const std::string& argument) {
                                     if (option == kPort) {
                                         options.port = CommandLine::Port(argument);
                                     }
                                     options.verbose = options.verbose || option == kVerbose;
                                     options.help = options.help || option == CommandLine::kHelp;
                                 });
    if (!options.help) {
        CommandLine::RefuseWords(words);
    }
    return options;
}

} // namespace GatrixGateway
