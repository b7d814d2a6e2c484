#pragma once

#include <atomic>
#include <memory>
#include <semaphore.h>

/** One unit of work on its way to a task. */
class TaskMessage
{
public:
    TaskMessage() = default;
    virtual ~TaskMessage() = default;
    TaskMessage(const TaskMessage&) = delete;
    TaskMessage& operator=(const TaskMessage&) = delete;

    /** Called once at most. Runs on the task's thread. */
    virtual void Run() = 0;

private:
    friend class TaskQueue;
    friend class TaskMessageList;
    TaskMessage* m_next = nullptr;
};

/** Takes messages for a task or an event loop, which it may outlive. */
class TaskQueueIF
{
public:
    virtual ~TaskQueueIF() = default;

    /**
     * Appends a message; drops it when the receiver has stopped. The caller shares in the ownership of the queue until
     * this returns: the receiver may be done with the message, and be gone, before that. Thread-safe.
     */
    virtual void Push(std::unique_ptr<TaskMessage> message) = 0;
};

/** Messages in their order of arrival, owned. Not thread-safe. */
class TaskMessageList
{
public:
    ~TaskMessageList();
    TaskMessageList(const TaskMessageList&) = delete;
    TaskMessageList& operator=(const TaskMessageList&) = delete;

    /** The message that has waited longest, handed over; null when none is left. */
    std::unique_ptr<TaskMessage> TakeFirst() noexcept;

private:
    friend class TaskQueue;
    /** Takes over messages that are linked from the latest to the first. */
    explicit TaskMessageList(TaskMessage* latest) noexcept;

    TaskMessage* m_first = nullptr;
};

/**
 * The first-in first-out queue of a task. It outlives its task for as long as someone holds a callback bound to it;
 * once closed it takes nothing more.
 */
class TaskQueue final : public TaskQueueIF
{
public:
    TaskQueue();
    ~TaskQueue() override;
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    void Push(std::unique_ptr<TaskMessage> message) override;

    /**
     * Sleeps in the kernel until there is a message or the queue is closed, then takes all that waited. An empty list
     * means closed. Runs on the task's thread. Blocks.
     */
    TaskMessageList WaitForMessages();

    /** Drops what waits, refuses what comes, and wakes the task. Thread-safe. */
    void Close();

    bool IsClosed() const noexcept;

private:
    /**
     * What was pushed and not yet taken, the latest first, linked by m_next; null when there is none, or one of two
     * marks: the receiver sleeps, or the queue is closed. A sender adds by one exchange, the receiver takes all by
     * another, so that neither ever waits for a thread that the kernel has put aside.
     */
    std::atomic<TaskMessage*> m_latest{nullptr};
    /** Posted once for each time that the receiver lay down to sleep. */
    sem_t m_wake;
};
