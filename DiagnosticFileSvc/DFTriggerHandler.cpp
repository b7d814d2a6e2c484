#include "DFTriggerHandler.h"

#include <exception>
#include <utility>

#include "DFConstants.h"
#include "DFDiagItemExistingFile.h"
#include "DFFiles.h"
#include "DFItemSelection.h"
#include "DFLimits.h"
#include "DFLog.h"
#include "DFUploadDiagnosticFiles.h"

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
      m_harvestSysInfoResponseCB(this, this, &DFTriggerHandler::HarvestSysInfoResponseCB),
      m_createUploadTarballResponseCB(this, this, &DFTriggerHandler::CreateUploadTarballResponseCB),
      m_diagItemRegistrationCB(this, this, &DFTriggerHandler::DiagItemRegistrationCB),
      m_uploadDiagFileRequestCB(this, this, &DFTriggerHandler::UploadDiagFileRequestCB),
      m_setDeviceInfoCB(this, this, &DFTriggerHandler::SetDeviceInfoCB),
      m_setGatrixClientCB(this, this, &DFTriggerHandler::SetGatrixClientCB),
      m_uploadDiagFileRespCB(this, this, &DFTriggerHandler::UploadDiagFileRespCB),
      m_gxHarvestFilepathResponseCB(this, this, &DFTriggerHandler::GXHarvestFilepathResponseCB),
      m_gxHarvestFilepathErrorResponseCB(this, this, &DFTriggerHandler::GXHarvestFilepathErrorResponseCB),
      m_gxHarvestPayloadResponseCB(this, this, &DFTriggerHandler::GXHarvestPayloadResponseCB),
      m_gxHarvestPayloadErrorResponseCB(this, this, &DFTriggerHandler::GXHarvestPayloadErrorResponseCB)
{
    m_harvester->Start();
}

void DFTriggerHandler::OnEntry()
{
    const LogScope scope(s_log, __func__, "DFTriggger::OnEntry");
    UploadClient();
}

/** The upload client, which is tried again as long as its task could not be started; null if that fails once more. */
DFUploadDiagnosticFiles* DFTriggerHandler::UploadClient()
{
    if (m_uploadClient == nullptr) {
        try {
            m_uploadClient = &DFUploadDiagnosticFiles::GetInstance();
        } catch (const std::exception& error) {
            LogLine(s_log, LOG_LEVEL_ERROR, "OnEntry", "The upload client cannot be started: ", error.what());
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

/**
 * Does one step of the request in progress. Whatever it throws ends the request with its one answer: the answer is the
 * last thing that a step does, so a step that throws has not answered.
 */
template <class Step>
void DFTriggerHandler::GuardRequest(const char* operation, Step step)
{
    try {
        step();
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, operation, "The request ends with an exception: ", error.what());
        FinishRequest(kInternalErrorAnswer, 400);
    }
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
        BeginUpload(request);
    });
}

void DFTriggerHandler::BeginUpload(const DFSCommonPB::UploadRequest& request)
{
    const std::string refusal = WhyRefused(request);
    if (!refusal.empty()) {
        LogLine(s_log, LOG_LEVEL_ERROR, "UploadDiagFileRequestCB", refusal);
        (*m_response)(refusal, 400);
    } else if (request.filetoupload().empty()) {
        BeginStandardUpload(request);
    } else {
        BeginCustomUpload(request);
    }
}

void DFTriggerHandler::BeginCustomUpload(const DFSCommonPB::UploadRequest& request)
{
    constexpr const char* kOperation = "UploadDiagFileRequestCB";
    const std::string& path = request.filetoupload();
    LogProgress(s_log, kOperation, "Processing custom file upload: ", path);
    if (request.filetype_size() != 1) {
        LogLine(s_log, LOG_LEVEL_ERROR, kOperation, kCustomFileNeedsOneType, ", got: ", request.filetype_size());
        (*m_response)(kCustomFileNeedsOneType, 400);
        return;
    }
    std::string subType = "custom_file";
    if (!request.subtype().empty()) {
        subType = request.subtype();
        LogProgress(s_log, kOperation, "Using provided subType: ", subType);
    }
    const std::string output = kCustomOutputPrefix + FilenameOf(path);
    m_diagnosticItems.push_back(std::make_unique<DFDiagItemExistingFile>(m_harvester, path, output, request.filetype(0),
                                                                         subType, DFSCommonPB::EXISTING_FILE,
                                                                         &m_harvestSysInfoResponseCB));
    m_requestedInputs = {path};
    m_isBusy = true;
    ProcessDiagnosticItem();
}

void DFTriggerHandler::BeginStandardUpload(const DFSCommonPB::UploadRequest& request)
{
    constexpr const char* kOperation = "UploadDiagFileRequestCB";
    LogProgress(s_log, kOperation, "Processing standard file types upload");
    LogProgress(s_log, kOperation, "uploadRequest.filetype_size(): ", request.filetype_size());
    for (const int type : request.filetype()) {
        LogProgress(s_log, kOperation, "fileToUpload:", type);
    }
    if (!request.subtype().empty()) {
        LogProgress(s_log, kOperation, "Filtering by subType: ", request.subtype());
    }
    m_requestedInputs = PopulateReqDiagItemsInputList(TypesOf(request), request.subtype(), m_diagnosticItems);
    m_isBusy = true;
    ProcessDiagnosticItem();
}

DFDiagnosticItem* DFTriggerHandler::FindRequestedDiagItem()
{
    const LogScope scope(s_log, __func__);
    if (m_requestedInputs.empty()) {
        LogProgress(s_log, __func__, "No more diagnostic items to process - inputs list is empty");
        return nullptr;
    }
    const std::string input = std::move(m_requestedInputs.front());
    m_requestedInputs.pop_front();
    LogProgress(s_log, __func__, "requested input:", input);
    for (const auto& item : m_diagnosticItems) {
        if (item->GetInput() == input) {
            return item.get();
        }
    }
    // This ends the collection, whatever is left of the list: deliberate.
    LogLine(s_log, LOG_LEVEL_WARNING, __func__, "Could not find diagnostic item with input: ", input);
    return nullptr;
}

void DFTriggerHandler::ProcessDiagnosticItem()
{
    const LogScope scope(s_log, __func__, "ProcessDiagnosticItem", "ProcessDiagnosticIte");
    m_currentItem = FindRequestedDiagItem();
    if (m_currentItem == nullptr) {
        FinishCollection();
        return;
    }
    LogProgress(s_log, __func__, "GetInput(): ", m_currentItem->GetInput());
    LogProgress(s_log, __func__, "GetOutputFilename(): ", m_currentItem->GetOutputFilename());
    LogProgress(s_log, __func__, "GetHarvestType(): ", m_currentItem->GetHarvestType());
    LogProgress(s_log, __func__, "GetDiagFileType(): ", m_currentItem->GetDiagFileType());
    m_currentItem->ProcessDiagnosticItem();
}

void DFTriggerHandler::FinishCollection()
{
    constexpr const char* kOperation = "ProcessDiagnosticItem";
    LogProgress(s_log, kOperation, "ProcessDiagnosticItem - All diagnostic items have  been processed");
    LogProgress(s_log, kOperation, "UploadManifest size: ", m_uploadManifest.item_size());
    if (m_uploadManifest.item_size() == 0) {
        LogProgress(s_log, kOperation,
                    "ProcessDiagnosticItem - All diagnostic items have been processed & manifest is empty");
        FinishRequest("Manifest is empty, nothing to upload", 400);
        return;
    }
    WriteUploadManifest();
    CreateTarballFromManifest();
}

void DFTriggerHandler::HarvestSysInfoResponseCB(const std::string& /*text*/, int code)
{
    const LogScope scope(s_log, __func__);
    if (code == 200) {
        LogProgress(s_log, __func__, "System information was harvested successfully");
        GuardRequest(__func__, [this] {
            RecordCurrentItem();
            ProcessDiagnosticItem();
        });
    } else {
        LogProgress(s_log, __func__, "Harvesting system information FAILED");
        SkipCurrentItem();
    }
}

void DFTriggerHandler::RecordCurrentItem()
{
    m_currentItem->AddFileToManifest(m_uploadManifest);
    DFSCommonPB::UploadTypeItem& type = *m_uploadTypes.add_uploaditems();
    type.set_type(m_currentItem->GetDiagFileType());
    type.set_subtype(m_currentItem->GetSubType());
}

void DFTriggerHandler::SkipCurrentItem()
{
    GuardRequest(__func__, [this] {
        DropCurrentItem();
        ProcessDiagnosticItem();
    });
}

void DFTriggerHandler::DropCurrentItem()
{
    LogLine(s_log, LOG_LEVEL_WARNING, __func__,
            "Missing from the upload: the item with subType: ", m_currentItem->GetSubType());
    const std::string& harvested = m_currentItem->GetHarvestedFilename();
    if (harvested.empty()) {
        return;
    }
    // The harvested file name is a full path already, so this names no file and what the item left stays: deliberate.
    const std::string path = kPersistenceDirectory + harvested;
    RemoveFile(s_log, __func__, path);
    RemoveFile(s_log, __func__, path + ".gz");
}

void DFTriggerHandler::GXHarvestFilepathResponseCB(const std::string& filepath)
{
    const LogScope scope(s_log, __func__);
    GuardRequest(__func__, [&] { m_currentItem->ProcessGXResponse(filepath); });
}

void DFTriggerHandler::GXHarvestPayloadResponseCB(const std::string& payload)
{
    const LogScope scope(s_log, __func__);
    GuardRequest(__func__, [&] { m_currentItem->ProcessGXResponse(payload); });
}

void DFTriggerHandler::GXHarvestFilepathErrorResponseCB(const std::string& /*error*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Harvesting Gatrix Filepath FAILED");
    SkipCurrentItem();
}

void DFTriggerHandler::GXHarvestPayloadErrorResponseCB(const std::string& /*error*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Harvesting Gatrix Payload FAILED");
    SkipCurrentItem();
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
        client->PostMetadata(m_uploadTypes, kArchive, &m_uploadDiagFileRespCB);
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
    try {
        RemoveOldDiagnosticFiles();
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The clean-up ended with an exception: ", error.what());
    }
    (*m_response)(text, code);
}
} // namespace DiagnosticFileSvc
