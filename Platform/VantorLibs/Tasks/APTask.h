#pragma once

#include "CTask.h"
#include "NotifyTargetTaskIF.h"

#include <memory>

class TaskQueue;

/**
 * A task with a message queue: a thread that runs OnEntry and then, one at a time, what callbacks bound to it bring.
 *
 * All state of a derived class belongs to its thread. A std::exception that leaves OnEntry or a handler is logged with
 * the task's name, and the task goes on. What arrives before Start waits in the queue. An idle task sleeps in the
 * kernel.
 *
 * A derived class that can be destroyed calls Stop in its destructor, before its members go.
 */
class APTask : public CTask, public NotifyTargetTaskIF
{
public:
    /** @param stackSize of the thread, in bytes; 0 for the default. The other parameters are those of CTask. */
    APTask(const char* name, unsigned int stackSize, CTask::RealtimeType realtime, int priority);
    ~APTask() override;

    /**
     * Ends the task: what waits in its queue is dropped, what is posted later does nothing. Called from a handler, it
     * returns at once, and the thread ends after that handler. A handler that waits in APTaskManager::JoinAllTasks
     * waits no longer. Stopped before its start, the task runs nothing, not even OnEntry. Called from another thread,
     * it waits for the handler that runs. Blocks.
     */
    void Stop();

    std::shared_ptr<TaskQueueIF> Queue() const override;

protected:
    /** Called before any handler. Runs on the task's thread. */
    virtual void OnEntry() {}

private:
    void ThreadBody() final;

    const std::shared_ptr<TaskQueue> m_queue;
};
