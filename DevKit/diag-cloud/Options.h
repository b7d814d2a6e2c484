#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace DiagCloud
{

struct Options
{
    bool help = false;
    std::uint16_t port = 8888;
    std::string store = "diag-cloud-store";
    std::optional<std::string> script;
    std::uint64_t maxBodySize = std::uint64_t{1} << 30U;
};

extern const char* const kHelpText;

/**
 * Reads the command line without the program's name. Not to be called by two threads at a time.
 *
 * @throws std::invalid_argument with one line for the user
 */
Options ParseOptions(std::vector<std::string> arguments);

} // namespace DiagCloud
