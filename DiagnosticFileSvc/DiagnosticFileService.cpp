#include "DiagnosticFileService.h"

#include "DFCliHandler.h"
#include "DFConstants.h"
#include "DFGatrixClient.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "IL.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DiagnosticFileService");
}

DiagnosticFileService::DiagnosticFileService() : APTask("DiagnoticFileService", 0, CTask::NOT_REALTIME, -1)
{
    const LogScope scope(s_log, __func__, "DiagnosticFileService::DiagnosticFileService");
    CTask::Start();
}

DiagnosticFileService::~DiagnosticFileService()
{
    LogProgress(s_log, __func__, "DiagnosticFileService - Destructor");
    APTask::Stop();
    m_gatrixClient.reset();
}

void DiagnosticFileService::OnEntry()
{
    const LogScope scope(s_log, __func__, "DiagnosticFileService::OnEntry");
    try {
        CreateAllTasks();
        CreateSystemInterfaceObjects();
        StartAllTasks();
        JoinAllTasks();
    } catch (const std::exception& error) {
        LogLine(s_log, LogLevel::Error, __func__, "exception :", error.what());
    }
}

void DiagnosticFileService::CreateAllTasks()
{
    const LogScope scope(s_log, __func__, "DiagnosticFileService::CreateAllTasks");
    m_triggerHandler = &DFTriggerHandler::GetInstance();
    AddTask(m_triggerHandler);
}

void DiagnosticFileService::CreateSystemInterfaceObjects()
{
    const LogScope scope(s_log, __func__, "DiagnosticFileService::CreateSystemInterfaceObjects");
    DFCliHandler::GetInstance(IL::CreateTask("CLI Handler", ""), m_triggerHandler);

    LogProgress(s_log, __func__,
                "DiagnosticFileService::CreateSystemInterfaceObjects - Create the DFGatrixClient using "
                "shared_ptr+++++++++");
    m_gatrixClient = DFGatrixClient::GetInstance(m_triggerHandler);
}
} // namespace DiagnosticFileSvc
