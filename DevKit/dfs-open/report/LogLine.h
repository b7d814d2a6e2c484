#pragma once

#include "Facts.h"

#include <optional>
#include <string>
#include <string_view>

namespace DfsReport
{

/** What a line of a log says. Points into the line. */
struct LogLine
{
    std::optional<Seconds> time;
    std::string_view message; ///< Behind time, host and, of BusyBox, facility and severity.
    std::string_view kernel;  ///< Of a message of the kernel, what is the same in each log that has it.
    Severity severity = Severity::Other;
};

/** What is known besides of the times in a log. */
struct LogClock
{
    std::optional<Seconds> collected; ///< For times without a year.
    std::optional<Seconds> started;   ///< For times since the start of the device.
};

/**
 * Takes a line apart. Its severity is the one that it names, such as "daemon.err". Otherwise its words tell: see
 * kErrorWords and kWarningWords in the source.
 */
LogLine ParseLogLine(std::string_view line, const LogClock& clock);

/** What of a message is the same each time: every run of digits, and what follows "0x", becomes "#". At most 160 bytes.
 */
std::string Signature(std::string_view message);

/** Who tells of a crash. */
enum class Teller
{
    Kernel,
    ServiceManager,
};

/** The program or service that the message says has crashed; empty when it says no such thing of this teller's. */
std::string CrashedProgram(std::string_view message, Teller teller);

} // namespace DfsReport
