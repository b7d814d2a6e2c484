#pragma once

#include <chrono>

namespace DiagSeal
{

/**
 * Forks and returns in the child, the worker. This process waits, passes HUP, INT and TERM on, and exits as the worker
 * does. If the worker is killed, or is not done in time, as when it is stopped or a file system answers nothing, this
 * process ends it with all its descendants and exits with status 1 and a line. If this process is killed, the worker
 * gets TERM. For a process of one thread without children; call it once, before anything that waits.
 *
 * @throws std::runtime_error with the reason when no worker can be started
 */
void WorkGuarded(std::chrono::milliseconds time);

} // namespace DiagSeal
