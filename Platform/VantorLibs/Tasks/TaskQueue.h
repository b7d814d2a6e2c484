#pragma once

#include <semaphore.h>

#include <atomic>
#include <memory>
#include <mutex>

/** One unit of work on its way to a task. */
class TaskMessage
{
public:
    TaskMessage() = default;
    virtual ~TaskMessage() = default;
    TaskMessage(const TaskMessage&) = delete;
    TaskMessage& operator=(const TaskMessage&) = delete;

    /** Called on the task's thread, at most once. */
    virtual void Run() = 0;

private:
    friend class TaskQueue;
    friend class TaskMessageList;
    TaskMessage* m_next = nullptr;
};

/** Messages in their order of arrival, owned. */
class TaskMessageList
{
public:
    TaskMessageList() = default;
    ~TaskMessageList();
    TaskMessageList(TaskMessageList&& other) noexcept;
    TaskMessageList& operator=(TaskMessageList&&) = delete;

    bool IsEmpty() const noexcept { return m_first == nullptr; }
    void Append(std::unique_ptr<TaskMessage> message) noexcept;
    std::unique_ptr<TaskMessage> TakeFirst() noexcept;

private:
    TaskMessage* m_first = nullptr;
    TaskMessage* m_last = nullptr;
};

/**
 * The first-in first-out queue of a task. It outlives its task for as long as someone holds a callback bound to it;
 * once closed it takes nothing more.
 */
class TaskQueue
{
public:
    TaskQueue();
    ~TaskQueue();
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    /** Any thread: appends a message; drops it when the queue is closed. */
    void Push(std::unique_ptr<TaskMessage> message);

    /**
     * The task's thread: sleeps in the kernel until there is a message or the queue is closed, then takes all that
     * waited. An empty list means closed.
     */
    TaskMessageList WaitForMessages();

    /** Any thread: drops what waits, refuses what comes, and wakes the task. */
    void Close();

    bool IsClosed() const noexcept { return m_closed.load(std::memory_order_acquire); }

private:
    std::mutex m_mutex;
    /** Posted once for each time that the receiver lay down to sleep. */
    sem_t m_wake;
    TaskMessageList m_messages;
    bool m_isReceiverAsleep = false;
    std::atomic<bool> m_closed{false};
};
