#include "AsyncTaskRunner.h"

#include "CTask.h"
#include "HttpLog.h"

#include <atomic>
#include <list>
#include <mutex>
#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("AsyncTaskRunner");

constexpr std::size_t kUnsuspiciousTaskCount = 19;

class StartedTask final : public CTask
{
public:
    explicit StartedTask(std::shared_ptr<Threads_Http::IRunnable> job)
        : CTask("Async Task", false, CTask::NOT_REALTIME, -1), m_job(std::move(job))
    {}

    bool IsFinished() const noexcept { return m_isFinished; }

private:
    void ThreadBody() override;

    std::shared_ptr<Threads_Http::IRunnable> m_job;
    std::atomic<bool> m_isFinished{false};
};

using StartedTasks = std::list<std::shared_ptr<StartedTask>>;

// The started tasks that no sweep has removed yet.
struct Registry
{
    std::mutex mutex;
    StartedTasks tasks;
};

Registry& TheRegistry()
{
    // Never destroyed: jobs may still run when the process's static objects go.
    static Registry& registry = *new Registry;
    return registry;
}

void SweepFinishedTasks()
{
    // Destroyed outside the lock: a task that another thread destroys is waited for, and it may be waiting for the
    // lock to do its own sweep. Two sweeps never wait for each other: a task can only be taken by an earlier sweep
    // than its own.
    StartedTasks finished;
    Registry& registry = TheRegistry();
    const std::lock_guard lock(registry.mutex);
    for (auto next = registry.tasks.begin(); next != registry.tasks.end();) {
        const auto task = next++;
        if ((*task)->IsFinished()) {
            finished.splice(finished.end(), registry.tasks, task);
        }
    }
}

void StartedTask::ThreadBody()
{
    // In a destructor, so that a job that throws is removed as well.
    struct Finish
    {
        std::atomic<bool>& isFinished;
        ~Finish()
        {
            // From here on any thread may destroy the task, and the sweep does: nothing of it is touched after this.
            isFinished = true;
            SweepFinishedTasks();
        }
    };
    const Finish finish{m_isFinished};
    m_job->Run();
}
} // namespace

AsyncTaskRunner& AsyncTaskRunner::GetInstance()
{
    static AsyncTaskRunner runner;
    return runner;
}

void AsyncTaskRunner::Run(std::shared_ptr<Threads_Http::IRunnable> job)
{
    const auto task = std::make_shared<StartedTask>(std::move(job));
    Registry& registry = TheRegistry();
    {
        const std::lock_guard lock(registry.mutex);
        registry.tasks.push_back(task);
        if (registry.tasks.size() > kUnsuspiciousTaskCount) {
            s_log.LogWarning("Potentially too many async tasks running: %zd", registry.tasks.size());
        }
    }
    try {
        task->Start();
    } catch (...) {
        const std::lock_guard lock(registry.mutex);
        registry.tasks.remove(task);
        throw;
    }
}
} // namespace Http
