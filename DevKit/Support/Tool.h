#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

/**
 * Parses the command line and runs a tool; an exception becomes a line on standard error. To be called once, by main.
 * @param run returns the exit status
 * @return that; 0 after "--help"; 2 for wrong usage and std::invalid_argument; 1 for any other exception
 */
int RunTool(CLI::App& app, int argc, char** argv, const std::function<int()>& run);

constexpr std::uint64_t kLargestPort = 65535;

/** Adds an option for a number in that range, whose default is what the value is. @param unit for the help */
template <class Number>
void AddNumberOption(CLI::App& app, const std::string& name, Number& value, std::uint64_t least, std::uint64_t most,
                     const std::string& unit, const std::string& help)
{
    app.add_option(name, value, help)->check(CLI::Range(least, most))->type_name(unit)->capture_default_str();
}

/**
 * Serves until SIGINT or SIGTERM. To be called once, before there is any other thread.
 * @param start returns the server, which is destroyed at the end
 * @return 0, the exit status
 */
int ServeUntilSignal(const std::function<std::shared_ptr<void>()>& start);
