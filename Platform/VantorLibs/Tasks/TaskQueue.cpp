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
        m_arrived.notify_one();
    }
}

TaskMessageList TaskQueue::WaitForMessages()
{
    std::unique_lock lock(m_mutex);
    while (m_messages.IsEmpty() && !m_closed) {
        m_isReceiverAsleep = true;
        m_arrived.wait(lock);
    }
    m_isReceiverAsleep = false;
    return std::move(m_messages);
}

void TaskQueue::Close()
{
    // Dropped outside the lock: a message's destructor may release the last owner of anything.
    const TaskMessageList dropped = [this] {
        const std::lock_guard lock(m_mutex);
        m_closed = true;
        return TaskMessageList(std::move(m_messages));
    }();
    m_arrived.notify_all();
}
