#include "TaskQueue.h"

#include <utility>

TaskMessageList::~TaskMessageList()
{
    while (TakeFirst()) {
    }
}

TaskMessageList::TaskMessageList(TaskMessageList&& other) noexcept
    : m_first(std::exchange(other.m_first, nullptr)), m_last(std::exchange(other.m_last, nullptr))
{}

void TaskMessageList::Append(std::unique_ptr<TaskMessage> message) noexcept
{
    TaskMessage* const added = message.release();
    (m_last == nullptr ? m_first : m_last->m_next) = added;
    m_last = added;
}

std::unique_ptr<TaskMessage> TaskMessageList::TakeFirst() noexcept
{
    std::unique_ptr<TaskMessage> taken(m_first);
    if (m_first != nullptr) {
        m_first = m_first->m_next;
    }
    if (m_first == nullptr) {
        m_last = nullptr;
    }
    return taken;
}

TaskQueue::TaskQueue()
{
    sem_init(&m_wake, 0, 0);
}

TaskQueue::~TaskQueue()
{
    sem_destroy(&m_wake);
}

void TaskQueue::Push(std::unique_ptr<TaskMessage> message)
{
    bool wake = false;
    {
        const std::lock_guard lock(m_mutex);
        if (m_closed) {
            return;
        }
        m_messages.Append(std::move(message));
        wake = std::exchange(m_isReceiverAsleep, false);
    }
    if (wake) {
        sem_post(&m_wake);
    }
}

TaskMessageList TaskQueue::WaitForMessages()
{
    for (;;) {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_messages.IsEmpty() || m_closed) {
                return std::move(m_messages);
            }
            m_isReceiverAsleep = true;
        }
        while (sem_wait(&m_wake) != 0) { // a signal handler ran
        }
    }
}

void TaskQueue::Close()
{
    // Dropped outside the lock: a message's destructor may release the last owner of anything.
    bool wake = false;
    const TaskMessageList dropped = [this, &wake] {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        wake = std::exchange(m_isReceiverAsleep, false);
        return TaskMessageList(std::move(m_messages));
    }();
    if (wake) {
        sem_post(&m_wake);
    }
}
