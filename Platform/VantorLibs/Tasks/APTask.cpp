#include "APTask.h"

#include "DPrint.h"
#include "TaskQueue.h"

namespace
{
const DPrint s_log("APTask");

template <class Handler>
void RunGuarded(const std::string& taskName, Handler handler)
{
    try {
        handler();
    } catch (const std::exception& error) {
        s_log.Log(1, "%s: a handler ended with an exception: %s", taskName.c_str(), error.what());
    }
}

class ClosureMessage final : public TaskMessage
{
public:
    explicit ClosureMessage(std::function<void()> work) : m_work(std::move(work)) {}
    void Run() override { m_work(); }

private:
    const std::function<void()> m_work;
};
} // namespace

void NotifyTargetTaskIF::Post(std::function<void()> work)
{
    // A copy: as soon as the work has run, the task and its queue may be gone.
    const std::shared_ptr<TaskQueueIF> queue = Queue();
    queue->Push(std::make_unique<ClosureMessage>(std::move(work)));
}

APTask::APTask(const char* name, unsigned int stackSize, CTask::RealtimeType realtime, int priority)
    : CTask(name, false, realtime, priority), m_queue(std::make_shared<TaskQueue>())
{
    SetStackSize(stackSize);
}

APTask::~APTask()
{
    Stop();
}

std::shared_ptr<TaskQueueIF> APTask::Queue() const
{
    return m_queue;
}

void APTask::Stop()
{
    m_queue->Close();
    InterruptWaits();
    Join();
}

void APTask::ThreadBody()
{
    // Copies: a handler may destroy the task.
    const std::shared_ptr<TaskQueue> queue = m_queue;
    const std::string name = TaskName();

    if (!queue->IsClosed()) {
        RunGuarded(name, [this] { OnEntry(); });
    }
    while (!queue->IsClosed()) {
        TaskMessageList messages = queue->WaitForMessages();
        while (!queue->IsClosed()) {
            const std::unique_ptr<TaskMessage> message = messages.TakeFirst();
            if (!message) {
                break;
            }
            RunGuarded(name, [&message] { message->Run(); });
        }
    }
}
