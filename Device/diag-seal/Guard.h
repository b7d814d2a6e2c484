#pragma once

#include <chrono>

namespace DiagSeal
{

/**
 * Forks and returns in the child, the worker. The parent, the guard, waits, passes HUP, INT and TERM on, and exits as
 * the worker does.
 *
 * The worker may be killed, or not be done in time, because it is stopped or a file system does not answer. Then the
 * guard kills it with all its descendants, tells the failure and exits with status 1. If the guard is killed, the
 * worker gets TERM; if it is stopped, it goes on when the worker ends. For a process of one thread without children;
 * call it once, before anything that blocks.
 *
 * @param time for the worker's end
 * @param stopTime for its end after HUP, INT or TERM
 * @throws std::runtime_error with the reason when no worker can be started
 */
void WorkGuarded(std::chrono::milliseconds time, std::chrono::milliseconds stopTime);

} // namespace DiagSeal
