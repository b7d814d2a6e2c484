#pragma once

namespace DiagSeal
{

/**
 * Makes a process that inherited anything one to rely on: closes all descriptors but the standard ones, opens /dev/null
 * for one that is missing, ignores SIGPIPE and SIGXFSZ, and dumps no core. If it was born with children, as when a shell
 * starts something in the background and then becomes this program, a child of its own goes on instead, and this process
 * exits as that one does: they are not this program's to end. For main alone.
 *
 * @throws std::runtime_error with the reason when standard output is closed
 */
void PrepareProcess();

} // namespace DiagSeal
