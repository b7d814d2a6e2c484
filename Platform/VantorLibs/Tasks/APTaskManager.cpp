#include "APTaskManager.h"

#include "APTask.h"

void APTaskManager::AddTask(APTask* task)
{
    const std::lock_guard lock(m_mutex);
    m_tasks.push_back(task);
}

void APTaskManager::StartAllTasks()
{
    const std::lock_guard lock(m_mutex);
    for (APTask* task : m_tasks) {
        task->Start();
    }
}

void APTaskManager::JoinAllTasks()
{
    const std::vector<APTask*> tasks = [this] {
        const std::lock_guard lock(m_mutex);
        return m_tasks;
    }();
    for (APTask* task : tasks) {
        task->JoinOrInterrupt();
    }
}
