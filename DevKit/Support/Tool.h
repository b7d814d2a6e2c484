#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace CLI
{
class App;
}

/**
 * A tool from its command line to its exit status. To be called once, by main. What goes wrong is told in one line on
 * standard error.
 *
 * @param app the tool's name, options and help; the command line is parsed into it
 * @param run returns the exit status
 * @return that; 0 after "--help"; 2 for wrong usage, which run tells by std::invalid_argument; 1 when run throws any
 *         other exception
 */
int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& run);

/** Adds the option "--port" of a TCP port, 0 to 65535, whose default is what `port` is. */
void AddPortOption(CLI::App& app, std::uint16_t& port, const std::string& help);

/**
 * Serves until SIGINT or SIGTERM. To be called once, before there is any other thread.
 *
 * @param start starts the server and returns it, to be destroyed at the end
 * @return 0, the exit status
 */
int ServeUntilSignal(const std::function<std::shared_ptr<void>()>& start);
