#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace DiagSeal
{

enum class Job
{
    SealCommand, ///< What a command prints.
    SealFile,    ///< The content of a regular file.
    SealText,    ///< The words of the command line, joined with blanks.
};

/** What one run shall do. The defaults are the device's bounds. */
struct Options
{
    Job job = Job::SealCommand;
    std::vector<std::string> words; ///< The command and its arguments, the path, or the text. Never empty.
    std::string certificate = "/opt/Vantor/etc/diag-recipient.pem";
    std::uint64_t size = 0; ///< Bytes of content at most: 16 MiB of a command, 64 MiB of a file. A text has no bound.
    std::chrono::milliseconds timeLimit = std::chrono::seconds(60); ///< For the command, or for reading the file.
    std::chrono::milliseconds killDelay = std::chrono::seconds(5);  ///< From TERM to KILL.
    std::chrono::milliseconds grace = std::chrono::seconds(2);      ///< For what is left behind and can still print.
    std::chrono::milliseconds toolTime = std::chrono::seconds(10);  ///< For each tool of a report, see ToolBounds.
    int processes = 64; ///< Of the command, with all that descend from it. Well below TasksMax= of the service's unit.
};

/**
 * Reads the command line, without the program's name: `command|file|text [OPTIONS] -- WORD...`. What follows the first
 * "--" is never an option. A second "--" before a command is ignored.
 *
 * A script may begin with the line `#!/opt/Vantor/bin/diag-seal JOB-script`. The kernel starts it as `JOB-script SCRIPT
 * WORD...`, see execve(2), which is read as `JOB -- WORD...`. So no shell has to start.
 *
 * @return nothing when only help was asked for, which has been written to standard output
 * @throws std::invalid_argument with one line for the user
 *
 * Thread-safe.
 */
std::optional<Options> ParseOptions(const std::vector<std::string>& commandLine);

} // namespace DiagSeal
