#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "GatrixWire.h"

namespace GatrixGateway
{

struct Options
{
    bool help = false;
    bool verbose = false;
    std::uint16_t port = Gatrix::Wire::kPort;
};

extern const char* const kHelpText;

/**
 * Reads the command line without the program's name. Not to be called by two threads at a time.
 *
 * @throws std::invalid_argument with one line for the user
 */
Options ParseOptions(std::vector<std::string> arguments);

} // namespace GatrixGateway
