#pragma once

#include "NotifyTargetTaskIF.h"

#include <string>

/** Ready-made tasks for parts of a service that need a thread to be called on, but no task class of their own. */
namespace IL
{
/**
 * Creates a task and starts it. It lives until the process ends and is never deleted.
 *
 * @param name  the task's name
 * @param group free text that tells people whom the task serves; written to the log with the name, empty for none
 * @throws std::system_error when the thread cannot be started
 *
 * Thread-safe.
 */
NotifyTargetTaskIF* CreateTask(const std::string& name, const std::string& group);
} // namespace IL
