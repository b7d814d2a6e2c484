#pragma once

#include "APTask.h"
#include "APTaskManager.h"

#include <memory>

namespace DiagnosticFileSvc
{
class DFGatrixClient;
class DFTriggerHandler;

/**
 * The service: creates its tasks and interface objects on a task of its own, then waits there for as long as they run.
 * Made on the main thread and kept for the life of the process.
 */
class DiagnosticFileService : public APTaskManager, private APTask
{
public:
    /** Starts the service's task. @throws std::system_error when the kernel has no thread to give. */
    DiagnosticFileService();
    ~DiagnosticFileService() override;

protected:
    void OnEntry() override;
    void CreateAllTasks() override;

private:
    void CreateSystemInterfaceObjects();

    /** A single instance of the process, not owned. */
    DFTriggerHandler* m_triggerHandler = nullptr;
    /** Shared with the process's single instance. */
    std::shared_ptr<DFGatrixClient> m_gatrixClient;
};
} // namespace DiagnosticFileSvc
