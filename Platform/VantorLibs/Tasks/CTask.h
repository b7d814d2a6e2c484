#pragma once

#include <memory>
#include <string>

/**
 * A thread with a name: the base of everything in the process that runs on its own.
 *
 * A task may be destroyed from anywhere. On another thread, the destructor waits until the body has returned; a derived
 * class whose body uses members waits earlier, in its own destructor. Within its own body, the thread is left to end by
 * itself, and the body must not touch the object any more.
 */
class CTask
{
public:
    /** How the kernel schedules the thread, see sched(7). */
    enum RealtimeType
    {
        NOT_REALTIME = 0,
        REALTIME_FIFO = 1,
        REALTIME_ROUND_ROBIN = 2,
    };

    /**
     * @param name     shown by ps, top and gdb, cut to the kernel's 15 characters, and in full in log lines
     * @param reserved false; without effect here
     * @param realtime scheduling class
     * @param priority for a real-time task its priority (1..99), otherwise its nice value (0..19); -1: the default.
     *                 A priority that the process may not have is logged, and the task runs with the default.
     */
    CTask(const char* name, bool reserved, RealtimeType realtime, int priority);
    virtual ~CTask();
    CTask(const CTask&) = delete;
    CTask& operator=(const CTask&) = delete;

    /**
     * Starts the thread, which runs the body once. A second call does nothing.
     *
     * @throws std::system_error when the kernel has no thread to give
     *
     * Thread-safe.
     */
    void Start();

    /** Waits until the body has returned; not when the task was never started or the caller is its body. Blocks. */
    void Join();

    /** As Join, but in the body of another task it also returns when that one's waits are interrupted. Blocks. */
    void JoinOrInterrupt();

    /** Ends the JoinOrInterrupt that this task's body is in, and those to come. Thread-safe. */
    void InterruptWaits();

    const std::string& TaskName() const noexcept { return m_name; }

protected:
    /**
     * Sets the size of the thread's stack in bytes, 0 for the default. To be called before Start. A size that the
     * system does not have is logged, and the task runs with the default.
     */
    void SetStackSize(unsigned int bytes) noexcept { m_stackSize = bytes; }

    /** What the thread does. A std::exception that leaves it is logged and ends the thread. */
    virtual void ThreadBody() = 0;

private:
    struct Thread;

    const std::string m_name;
    const RealtimeType m_realtime;
    const int m_priority;
    unsigned int m_stackSize = 0;
    /** Shared with the running thread, which outlives the task when the task is destroyed in its own body. */
    const std::shared_ptr<Thread> m_thread;
};
