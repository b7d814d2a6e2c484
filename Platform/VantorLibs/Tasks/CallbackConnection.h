#pragma once

#include "NotifyTargetTaskIF.h"
#include "WeakRef.h"

/**
 * Ties callbacks to an object that is no task itself: they run on the given task, and do nothing once the connection, a
 * member of that object, is gone. To be destroyed on that task or after it was stopped.
 */
class CallbackConnection
{
public:
    /** @param task not owned; used only now, to keep its queue. */
    explicit CallbackConnection(const NotifyTargetTaskIF* task) : m_queue(task->Queue()) {}

    const std::shared_ptr<TaskQueueIF>& Queue() const noexcept { return m_queue; }
    const WeakRefAnchor& Anchor() const noexcept { return m_anchor; }

private:
    std::shared_ptr<TaskQueueIF> m_queue;
    WeakRefAnchor m_anchor;
};
