#pragma once

namespace DiagSeal
{

/**
 * Undoes what a process may have inherited: closes all descriptors but the standard ones, opens /dev/null for one of
 * these that is missing, ignores SIGPIPE and SIGXFSZ, and dumps no core.
 *
 * A process may also be born with children, when a shell has started something in the background and then becomes this
 * program. These are not to be ended. Then a child of this process goes on instead, and this process exits as that
 * child does. For main alone.
 *
 * @throws std::runtime_error with the reason when standard output is closed
 */
void PrepareProcess();

} // namespace DiagSeal
