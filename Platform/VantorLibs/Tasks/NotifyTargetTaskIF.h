#pragma once

#include <functional>
#include <memory>

class TaskQueueIF;

/** A task as the target of callbacks: what is posted to it runs on its thread, one after another, in order of arrival.
 */
class NotifyTargetTaskIF
{
public:
    virtual ~NotifyTargetTaskIF() = default;

    /** The task's queue, for those who bind callbacks to the task. It may be kept longer than the task lives. */
    virtual std::shared_ptr<TaskQueueIF> Queue() const = 0;

    /** Runs the work on the task; drops it when the task has been stopped. Thread-safe. */
    void Post(std::function<void()> work);
};
