#include "DFTriggerHandler.h"

#include "DFConstants.h"
#include "DFGuard.h"
#include "DFItemConfigFile.h"
#include "DFItemSelection.h"
#include "DFUploadDiagnosticFiles.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);
} // namespace

DFTriggerHandler& DFTriggerHandler::GetInstance()
{
    static auto& instance = *new DFTriggerHandler;
    return instance;
}

DFTriggerHandler::DFTriggerHandler()
    : APTask(kTriggerHandler, 0, CTask::NOT_REALTIME, -1),
      m_harvester(std::make_shared<DFHarvestSystemInfo>()),
      m_diagnosticItems({m_harvester,
                         {this, &m_collector, &DFItemCollector::HarvestSysInfoResponseCB},
                         {this, &m_collector, &DFItemCollector::GXHarvestFilepathResponseCB},
                         {this, &m_collector, &DFItemCollector::GXHarvestFilepathErrorResponseCB},
                         {this, &m_collector, &DFItemCollector::GXHarvestPayloadResponseCB},
                         {this, &m_collector, &DFItemCollector::GXHarvestPayloadErrorResponseCB}}),
      m_collector(m_diagnosticItems, m_files,
                  {[this] { FinishCollection(); }, [this] { FinishRequest(kInternalErrorAnswer, 400); }}),
      m_createUploadTarballResponseCB(this, this, &DFTriggerHandler::CreateUploadTarballResponseCB),
      m_uploadDiagFileRespCB(this, this, &DFTriggerHandler::UploadDiagFileRespCB),
      m_diagItemRegistrationCB(this, &m_diagnosticItems, &DFItemRegistry::DiagItemRegistrationCB),
      m_uploadDiagFileRequestCB(this, this, &DFTriggerHandler::UploadDiagFileRequestCB),
      m_setDeviceInfoCB(this, this, &DFTriggerHandler::SetDeviceInfoCB),
      m_setGatrixClientCB(this, this, &DFTriggerHandler::SetGatrixClientCB)
{
    m_harvester->Start();
}

void DFTriggerHandler::OnEntry()
{
    const LogScope scope(s_log, __func__, "DFTriggger::OnEntry");
    UploadClient();
}

// The upload client, which is tried again as long as its task could not be started; null if that fails once more.
DFUploadDiagnosticFiles* DFTriggerHandler::UploadClient()
{
    if (m_uploadClient == nullptr) {
        try {
            m_uploadClient = &DFUploadDiagnosticFiles::GetInstance();
        } catch (const std::exception& error) {
            LogLine(s_log, LogLevel::Error, "OnEntry", "The upload client cannot be started: ", error.what());
        }
    }
    return m_uploadClient;
}

void DFTriggerHandler::UploadDiagFileRequest(DFSCommonPB::UploadRequest request, Answer* response)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::UploadDiagFileRequest");
    LogProgress(s_log, __func__, "uploadRequest.filetype_size(): ", request.filetype_size());
    m_uploadDiagFileRequestCB(std::move(request), response);
}

void DFTriggerHandler::SetDeviceInfo(DeviceManagerPb::DeviceInfo info)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetDeviceInfo");
    m_setDeviceInfoCB(std::move(info));
}

void DFTriggerHandler::SetDeviceInfoCB(const DeviceManagerPb::DeviceInfo& info)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetDeviceInfoCB");
    if (DFUploadDiagnosticFiles* const client = UploadClient()) {
        client->SetDeviceInfo(info);
    }
}

void DFTriggerHandler::SetGatrixClient(std::shared_ptr<DFGatrixClient> gatrixClient)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetGatrixClient");
    m_setGatrixClientCB(std::move(gatrixClient));
}

void DFTriggerHandler::SetGatrixClientCB(const std::shared_ptr<DFGatrixClient>& gatrixClient)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetGatrixClientCB");
    m_diagnosticItems.SetGatrixClient(gatrixClient);
    LoadDiagItemsFromConfigFile(m_diagnosticItems);
}

void DFTriggerHandler::DiagItemRegistration(DFDiagnosticItem item)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::DiagItemRegistration");
    // Before it is posted: a flood of large registrations would fill the queue.
    if (!DFItemRegistry::IsRefused(__func__, item)) {
        m_diagItemRegistrationCB(std::move(item));
    }
}

// Does a step of the request. If it throws, that ends the request: as a step answers last, it has not answered.
template <class Step>
void DFTriggerHandler::GuardRequest(const char* operation, Step step)
{
    GuardStep(s_log, operation, "The request", step,
              [this](const std::exception&) { FinishRequest(kInternalErrorAnswer, 400); });
}

void DFTriggerHandler::UploadDiagFileRequestCB(const DFSCommonPB::UploadRequest& request, Answer* response)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::UploadDiagFileRequestCB");
    if (m_isBusy) {
        LogProgress(s_log, __func__, "******Cannot service current request, system is busy");
        // The requester of the request in progress is told, not the new one, which gets no answer: deliberate.
        (*m_response)(kBusyAnswer, 555);
        return;
    }
    m_response = response;
    GuardRequest(__func__, [&] {
        RemoveOldDiagnosticFiles();
        ItemSelection selection = SelectItems(request, m_diagnosticItems);
        if (!selection.refusal.empty()) {
            (*m_response)(selection.refusal, 400);
            return;
        }
        m_isBusy = true;
        m_collector.Collect(std::move(selection.inputs));
    });
}

void DFTriggerHandler::FinishCollection()
{
    if (m_files.Count() == 0) {
        LogProgress(s_log, "ProcessDiagnosticItem",
                    "ProcessDiagnosticItem - All diagnostic items have been processed & manifest is empty");
        FinishRequest("Manifest is empty, nothing to upload", 400);
        return;
    }
    m_files.WriteUploadManifest();
    CreateTarballFromManifest();
}

void DFTriggerHandler::CreateTarballFromManifest()
{
    const LogScope scope(s_log, __func__);
    m_harvester->CreateUploadTarball(m_files.FilesToTar(), &m_createUploadTarballResponseCB);
}

void DFTriggerHandler::CreateUploadTarballResponseCB(bool isPacked)
{
    const LogScope scope(s_log, __func__);
    GuardRequest(__func__, [&] {
        if (isPacked) {
            UploadDiagFile();
        } else {
            FinishRequest("Unable to create tarball", 400);
        }
    });
}

void DFTriggerHandler::UploadDiagFile()
{
    const LogScope scope(s_log, __func__);
    if (DFUploadDiagnosticFiles* const client = UploadClient()) {
        client->PostMetadata(m_files.Types(), kArchive, &m_uploadDiagFileRespCB);
    } else {
        FinishRequest(kNoUploadClientAnswer, 400);
    }
}

void DFTriggerHandler::UploadDiagFileRespCB(const std::string& text, int code)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Sending response to the diag file upload request");
    GuardRequest(__func__, [&] { FinishRequest(text, code); });
}

void DFTriggerHandler::FinishRequest(const std::string& text, int code)
{
    m_isBusy = false;
    GuardStep(
        s_log, __func__, "The clean-up", [this] { RemoveOldDiagnosticFiles(); }, [](const std::exception&) {});
    (*m_response)(text, code);
}

void DFTriggerHandler::RemoveOldDiagnosticFiles()
{
    const LogScope scope(s_log, __func__, "Cleanup");
    m_files.RemoveAll();
    m_collector.Forget();
    m_diagnosticItems.RemoveCustomItems();
}
} // namespace DiagnosticFileSvc
