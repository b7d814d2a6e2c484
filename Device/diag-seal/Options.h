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
    int processes = 512;                                            ///< Of the command, with all that descend from it.
};

/**
 * Reads the command line, without the program's name: `command|file|text [OPTIONS] -- WORD...`. What follows the first
 * "--" is never an option. A further "--" before a command is passed over, as nearly all programs do.
 *
 * Of a script whose first line is `#!/opt/Vantor/bin/diag-seal JOB-script`, the kernel makes `JOB-script SCRIPT
 * WORD...`, see execve(2): it is read as `JOB -- WORD...`, and no shell has to start.
 *
 * @return nothing when only help was asked for, which is on standard output then
 * @throws std::invalid_argument with one line for the user
 */
std::optional<Options> ParseOptions(const std::vector<std::string>& commandLine);

} // namespace DiagSeal
