#pragma once

#include <chrono>

namespace DiagSeal
{

/**
 * Ends this process with status 1, and all its descendants before, when the time is over, whatever it does then: the
 * bound on waits that have no other, as on a file system that answers nothing. Uses SIGALRM. Call it once.
 */
void EndEverythingAfter(std::chrono::milliseconds time);

} // namespace DiagSeal
