#pragma once

#include "Descriptor.h"

#include <cstddef>
#include <functional>
#include <string>
#include <sys/types.h>

namespace DiagSeal
{

/** A started child, as its supervisor holds it. */
struct Child
{
    /** Bytes of the reason of a failure: a pipe holds them in any case, and no child has to wait for a reader. */
    static constexpr std::size_t kMostFailure = 512;

    pid_t pid = -1;
    /// Receives the listener of a GroupLock, see DescriptorMessage. A byte that is then written lets the task begin;
    /// when it closes, the child ends.
    Descriptor gate;
    Descriptor output;  ///< What it and its descendants print; reading does not block.
    Descriptor failure; ///< The text that its task returned, cut to kMostFailure; reading does not block.
};

/**
 * Forks. The child has a session of its own, puts itself under a GroupLock, and waits at its gate before it runs the
 * task, see Supervisor::Task. It is killed when this process dies. For a process of one thread.
 *
 * @throws std::runtime_error with the reason when no child can be started
 */
void StartChild(const std::function<std::string()>& task, Child& child);

} // namespace DiagSeal
