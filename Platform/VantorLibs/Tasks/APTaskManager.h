#pragma once

#include <mutex>
#include <vector>

class APTask;

/** Starts the tasks that a service is made of, and waits for them. */
class APTaskManager
{
public:
    APTaskManager() = default;
    virtual ~APTaskManager() = default;
    APTaskManager(const APTaskManager&) = delete;
    APTaskManager& operator=(const APTaskManager&) = delete;

    /** To be called before StartAllTasks. The task is not owned and must outlive JoinAllTasks. Thread-safe. */
    void AddTask(APTask* task);

    /** Starts the added tasks in order of addition. */
    void StartAllTasks();

    /** Returns when no started task runs any more. In a task, it returns at the latest when that is stopped. Blocks. */
    void JoinAllTasks();

protected:
    /** Where a derived manager creates and adds its tasks. The derived class says when. */
    virtual void CreateAllTasks() {}

private:
    std::mutex m_mutex;
    std::vector<APTask*> m_tasks;
};
