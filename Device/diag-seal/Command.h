#pragma once

#include <string>
#include <vector>

namespace DiagSeal
{

/**
 * Becomes the command, found on the PATH unless its name holds a "/". Each of its processes may take 256 MiB of memory,
 * write files of 64 MiB and dump no core. The out-of-memory killer picks it before others.
 *
 * @param processes RLIMIT_NPROC, which binds an ordinary user only
 * @return the reason when there is no such program, or none that can be run
 */
std::string BecomeCommand(const std::vector<std::string>& words, int processes);

} // namespace DiagSeal
