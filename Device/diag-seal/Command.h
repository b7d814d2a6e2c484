#pragma once

#include <string>

namespace DiagSeal
{

struct Options;

/**
 * Becomes the command, found on the PATH unless its name holds a "/". Each of its processes may take 256 MiB of memory
 * and write files of 64 MiB, and dumps no core. The out-of-memory killer takes it before others.
 *
 * RLIMIT_NPROC, which counts all processes of an ordinary account and none of root's, is a second bound beside the
 * supervisor's. The environment tells how a tool gets a bound of its own, see ToolBounds: DIAG_SEAL_PID is whom to ask,
 * DIAG_SEAL_TOOL_SECONDS the time. To be called in a child of the supervising process.
 *
 * @return the reason why the program cannot be run; otherwise does not return
 */
std::string BecomeCommand(const Options& options);

} // namespace DiagSeal
