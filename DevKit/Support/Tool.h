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
 * Parses the command line and runs a tool; an exception becomes a line on standard error. To be called once, by main.
 * @param run returns the exit status
 * @return that; 0 after "--help"; 2 for wrong usage and std::invalid_argument; 1 for any other exception
 */
int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& run);

/** Adds the option "--port", a TCP port from the lowest to 65535; its default is what `port` is. */
void AddPortOption(CLI::App& app, std::uint16_t& port, int lowest, const std::string& help);

/**
 * Serves until SIGINT or SIGTERM. To be called once, before there is any other thread.
 * @param start returns the server, which is destroyed at the end
 * @return 0, the exit status
 */
int ServeUntilSignal(const std::function<std::shared_ptr<void>()>& start);
