#include "TaskQueue.h"

#include <utility>

namespace
{
// Never run, only compared by its address.
class Mark final : public TaskMessage
{
public:
    void Run() override {}
};

Mark s_asleep;
Mark s_closed;
TaskMessage* const kAsleep = &s_asleep;
TaskMessage* const kClosed = &s_closed;
} // namespace

TaskMessageList::TaskMessageList(TaskMessage* latest) noexcept
{
    while (latest != nullptr) {
        TaskMessage* const before = std::exchange(latest->m_next, m_first);
        m_first = std::exchange(latest, before);
    }
}

TaskMessageList::~TaskMessageList()
{
    while (TakeFirst()) {
    }
}

std::unique_ptr<TaskMessage> TaskMessageList::TakeFirst() noexcept
{
    std::unique_ptr<TaskMessage> taken(m_first);
    if (m_first != nullptr) {
        m_first = m_first->m_next;
    }
    return taken;
}

TaskQueue::TaskQueue()
{
    sem_init(&m_wake, 0, 0);
}

TaskQueue::~TaskQueue()
{
    Close();
    sem_destroy(&m_wake);
}

void TaskQueue::Push(std::unique_ptr<TaskMessage> message)
{
    TaskMessage* latest = m_latest.load();
    do {
        if (latest == kClosed) {
            return;
        }
        message->m_next = latest == kAsleep ? nullptr : latest;
    } while (!m_latest.compare_exchange_weak(latest, message.get()));
    static_cast<void>(message.release());
    if (latest == kAsleep) {
        sem_post(&m_wake);
    }
}

TaskMessageList TaskQueue::WaitForMessages()
{
    for (;;) {
        TaskMessage* latest = m_latest.load();
        if (latest == kClosed) {
            return TaskMessageList(nullptr);
        }
        // Another message, or the end, may come between the two steps: then look again.
        if (!m_latest.compare_exchange_weak(latest, latest == nullptr ? kAsleep : nullptr)) {
            continue;
        }
        if (latest != nullptr) {
            return TaskMessageList(latest);
        }
        // A signal handler may end the wait early.
        while (sem_wait(&m_wake) != 0) {
        }
    }
}

void TaskQueue::Close()
{
    TaskMessage* const latest = m_latest.exchange(kClosed);
    if (latest == kAsleep) {
        sem_post(&m_wake);
    } else if (latest != kClosed) {
        const TaskMessageList dropped(latest);
    }
}

bool TaskQueue::IsClosed() const noexcept
{
    return m_latest.load() == kClosed;
}
