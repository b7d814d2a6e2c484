#pragma once

class APTask;

class APTaskManager
{
public:
    APTaskManager();
    virtual ~APTaskManager();
    void AddTask(APTask* task);
    void StartAllTasks();
    void JoinAllTasks();

protected:
    virtual void CreateAllTasks();
};
