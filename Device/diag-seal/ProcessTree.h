#pragma once

#include <chrono>
#include <sys/types.h>

/**
 * All processes that descend from this one, as /proc shows them. This process must be their sub-reaper (prctl(2)). Then
 * a process that loses its parent becomes its child: no session, group or double fork leads out of the tree.
 *
 * Nothing here forks or takes memory, so it works when the command has used up both. Async-signal-safe. Not
 * thread-safe.
 */
namespace DiagSeal::ProcessTree
{

/** Sends the signal to each. */
void Signal(int signal);

/** Returns their number, zombies included: their threads may live. Counts no further than to the most. */
int Count(int most);

/** Whether the latest Signal or Count has come across this process. */
bool Has(pid_t pid);

/** Sends the signal to the parent of a process, if the latest Signal or Count has come across both. */
void SignalParent(pid_t pid, int signal);

/** Kills a descendant and all that descend from it. It is stopped first, so that it starts nothing meanwhile. */
void KillBranch(pid_t root);

/**
 * Kills them, and what they start meanwhile, and reaps them, until none is left. Whole groups are killed, except this
 * process's own: what cannot leave its group cannot stay, see GroupLock. SIGCHLD is ignored from then on.
 *
 * @return false when some outlive the time limit: nothing ends a process that waits for a dead device
 *
 * Blocks.
 */
bool KillAll(std::chrono::milliseconds timeLimit);

} // namespace DiagSeal::ProcessTree
