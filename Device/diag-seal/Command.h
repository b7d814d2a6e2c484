#pragma once

#include <string>
#include <vector>

namespace DiagSeal
{

/**
 * Becomes the command, found on the PATH unless its name holds a "/". Each of its processes may take 256 MiB of memory
 * and write files of 64 MiB, and dumps no core. The out-of-memory killer takes it before others.
 *
 * @param words the program and its arguments, at least one
 * @param processes RLIMIT_NPROC, which binds ordinary users only
 * @return the reason why the program cannot be run; otherwise does not return
 */
std::string BecomeCommand(const std::vector<std::string>& words, int processes);

} // namespace DiagSeal
