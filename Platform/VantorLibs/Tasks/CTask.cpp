#include "CTask.h"

#include "DPrint.h"

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace
{
const DPrint s_log("CTask");
}

struct CTask::Thread
{
    std::string name;
    CTask* task = nullptr;
    std::shared_ptr<Thread> self;

    std::atomic<bool> started{false};
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
    std::thread::id id;
    // The body waits for no other task any longer.
    std::atomic<bool> interrupted{false};
    // The task that the body waits for; null while it waits for none.
    std::shared_ptr<Thread> awaited;

    // Whose body the calling thread runs; null on other threads.
    static thread_local Thread* s_current;

    void Await(const std::shared_ptr<Thread>& other)
    {
        const std::lock_guard lock(mutex);
        awaited = other;
    }

    bool IsCaller()
    {
        const std::lock_guard lock(mutex);
        return id == std::this_thread::get_id();
    }

    void ApplyScheduling() const
    {
        int error = 0;
        if (task->m_realtime != NOT_REALTIME) {
            sched_param parameters{};
            parameters.sched_priority = task->m_priority < 0 ? sched_get_priority_min(SCHED_FIFO) : task->m_priority;
            error = pthread_setschedparam(pthread_self(), task->m_realtime == REALTIME_FIFO ? SCHED_FIFO : SCHED_RR,
                                          &parameters);
        } else if (task->m_priority >= 0) {
            const auto threadId = static_cast<id_t>(syscall(SYS_gettid));
            error = setpriority(PRIO_PROCESS, threadId, task->m_priority) == 0 ? 0 : errno;
        }
        if (error != 0) {
            s_log.LogWarning("%s: runs with default scheduling: %s", name.c_str(),
                             std::generic_category().message(error).c_str());
        }
    }

    static void* Entry(void* argument)
    {
        const auto thread = std::move(static_cast<Thread*>(argument)->self);
        {
            const std::lock_guard lock(thread->mutex);
            thread->id = std::this_thread::get_id();
        }
        s_current = thread.get();
        constexpr std::size_t kKernelNameLength = 15;
        pthread_setname_np(pthread_self(), thread->name.substr(0, kKernelNameLength).c_str());
        thread->ApplyScheduling();
        try {
            thread->task->ThreadBody();
        } catch (const std::exception& error) {
            s_log.Log(1, "%s: the task ended with an exception: %s", thread->name.c_str(), error.what());
        }
        const std::lock_guard lock(thread->mutex);
        thread->ended = true;
        thread->changed.notify_all();
        return nullptr;
    }
};

thread_local CTask::Thread* CTask::Thread::s_current = nullptr;

CTask::CTask(const char* name, bool /*reserved*/, RealtimeType realtime, int priority)
    : m_name(name), m_realtime(realtime), m_priority(priority), m_thread(std::make_shared<Thread>())
{}

CTask::~CTask()
{
    Join();
}

void CTask::Start()
{
    if (m_thread->started.exchange(true)) {
        return;
    }
    m_thread->name = m_name;
    m_thread->task = this;
    m_thread->self = m_thread;

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (m_stackSize != 0) {
        const int refusal = pthread_attr_setstacksize(&attributes, m_stackSize);
        if (refusal != 0) {
            s_log.LogWarning("%s: runs with the default stack, not with %u bytes: %s", m_name.c_str(), m_stackSize,
                             std::generic_category().message(refusal).c_str());
        }
    }
    pthread_t unused{};
    const int error = pthread_create(&unused, &attributes, &Thread::Entry, m_thread.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        m_thread->self.reset();
        m_thread->started = false;
        throw std::system_error(error, std::generic_category(), "cannot start the task " + m_name);
    }
}

void CTask::Join()
{
    if (!m_thread->started || m_thread->IsCaller()) {
        return;
    }
    std::unique_lock lock(m_thread->mutex);
    m_thread->changed.wait(lock, [this] { return m_thread->ended; });
}

void CTask::JoinOrInterrupt()
{
    Thread* const caller = Thread::s_current;
    if (caller == nullptr || caller == m_thread.get() || !m_thread->started) {
        Join();
        return;
    }
    const std::shared_ptr<Thread> thread = m_thread;
    caller->Await(thread);
    {
        std::unique_lock lock(thread->mutex);
        thread->changed.wait(lock, [&thread, caller] { return thread->ended || caller->interrupted; });
    }
    caller->Await(nullptr);
}

void CTask::InterruptWaits()
{
    m_thread->interrupted = true;
    const std::shared_ptr<Thread> awaited = [this] {
        const std::lock_guard lock(m_thread->mutex);
        return m_thread->awaited;
    }();
    if (awaited) {
        const std::lock_guard lock(awaited->mutex);
        awaited->changed.notify_all();
    }
}
