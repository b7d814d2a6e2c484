#pragma once

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "APTask.h"
#include "AsyncCallback.h"
#include "DFDiagnosticItem.h"
#include "DFHarvestSystemInfo.h"
#include "DeviceManager.pb.h"
#include "UploadSysInfo.pb.h"

namespace DiagnosticFileSvc
{
class DFGatrixClient;
class DFUploadDiagnosticFiles;

/**
 * The service's central task. It keeps the registry of diagnostic items and turns an upload request into an answer:
 * chooses the items, has them collected one at a time, writes the manifest, has the archive packed and uploaded,
 * answers and cleans up. One request at a time; one that comes meanwhile is refused, not queued.
 *
 * Public operations may be called from any thread: they only post to the task, where everything else happens.
 */
class DFTriggerHandler : public APTask
{
public:
    /** Receives a request's answer: a text and a status code, 200 for success. */
    using Answer = AsyncCallback<const std::string, int>;

    /** The single instance, made by the first call, which does not start its task, and never destroyed. */
    static DFTriggerHandler& GetInstance();

    /**
     * Asks for an upload.
     *
     * @param response invoked once, whatever fails: 400 for a bad request (see DFLimits.h for what is too much), an
     * empty collection, a failed archive or an internal error, otherwise the cloud's body and HTTP status. Not owned;
     * must stay alive until the next request's answer. While another request is in progress, that one's requester is
     * told 555 and this request is dropped unanswered.
     */
    void UploadDiagFileRequest(DFSCommonPB::UploadRequest request, Answer* response);

    /**
     * Adds an item to the registry, unless one of its sub-type is there, the registry is full, or the item exceeds what
     * DFLimits.h grants: that is logged. It is forgotten when the service restarts.
     */
    void DiagItemRegistration(DFDiagnosticItem item);

    /** Passes the device information on to the upload client. */
    void SetDeviceInfo(DeviceManagerPb::DeviceInfo info);

    /** Takes the gateway client, which may be empty, and loads the items of the configuration file. */
    void SetGatrixClient(std::shared_ptr<DFGatrixClient> gatrixClient);

protected:
    void OnEntry() override;

private:
    DFTriggerHandler();

    // The registry, in DFTriggerHandlerRegistry.cpp
    void SetGatrixClientCB(const std::shared_ptr<DFGatrixClient>& gatrixClient);
    void DiagItemRegistrationCB(const DFDiagnosticItem& item);
    void RegisterBuiltInItems();
    void LoadDiagItemsFromConfigFile();
    void CreateDiagItemConfigFile();
    std::unique_ptr<DFDiagnosticItem> MakeItem(const DFDiagnosticItem& item);

    // The road of a request, in DFTriggerHandler.cpp
    void UploadDiagFileRequestCB(const DFSCommonPB::UploadRequest& request, Answer* response);
    DFUploadDiagnosticFiles* UploadClient();
    void BeginUpload(const DFSCommonPB::UploadRequest& request);
    void BeginCustomUpload(const DFSCommonPB::UploadRequest& request);
    void BeginStandardUpload(const DFSCommonPB::UploadRequest& request);
    DFDiagnosticItem* FindRequestedDiagItem();
    void ProcessDiagnosticItem();
    void FinishCollection();
    void HarvestSysInfoResponseCB(const std::string& text, int code);
    void GXHarvestFilepathResponseCB(const std::string& filepath);
    void GXHarvestFilepathErrorResponseCB(const std::string& error);
    void GXHarvestPayloadResponseCB(const std::string& payload);
    void GXHarvestPayloadErrorResponseCB(const std::string& error);
    void RecordCurrentItem();
    void SkipCurrentItem();
    void DropCurrentItem();
    void CreateUploadTarballResponseCB(bool isPacked);
    void UploadDiagFile();
    void UploadDiagFileRespCB(const std::string& text, int code);
    void SetDeviceInfoCB(const DeviceManagerPb::DeviceInfo& info);
    void FinishRequest(const std::string& text, int code);
    template <class Step>
    void GuardRequest(const char* operation, Step step);

    // What a request leaves on the device, in DFTriggerHandlerFiles.cpp
    void WriteUploadManifest();
    void CreateTarballFromManifest();
    void RemoveFilesOf(const DFSCommonPB::UploadManifest& manifest);
    void RemoveOldDiagnosticFiles();

    bool m_isBusy = false;
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    /** Null as long as its task could not be started. */
    DFUploadDiagnosticFiles* m_uploadClient = nullptr;
    /** Given to every item. */
    DFHarvestSystemInfo::Answer m_harvestSysInfoResponseCB;
    AsyncCallback<bool> m_createUploadTarballResponseCB;
    /** Whom to answer: the requester of the request in progress, or of the last one. Not owned. */
    Answer* m_response = nullptr;
    const AsyncCallback<DFDiagnosticItem> m_diagItemRegistrationCB;
    const AsyncCallback<const DFSCommonPB::UploadRequest, Answer*> m_uploadDiagFileRequestCB;
    const AsyncCallback<DeviceManagerPb::DeviceInfo> m_setDeviceInfoCB;
    const AsyncCallback<std::shared_ptr<DFGatrixClient>> m_setGatrixClientCB;
    DFSCommonPB::UploadManifest m_uploadManifest;
    Answer m_uploadDiagFileRespCB;
    /** Inputs of the items still to run. */
    std::deque<std::string> m_requestedInputs;
    /** The item being harvested, one of m_diagnosticItems. */
    DFDiagnosticItem* m_currentItem = nullptr;
    std::shared_ptr<DFGatrixClient> m_gatrixClient;
    /** Given to the items that ask other services. */
    AsyncCallback<const std::string> m_gxHarvestFilepathResponseCB;
    AsyncCallback<const std::string> m_gxHarvestFilepathErrorResponseCB;
    AsyncCallback<const std::string> m_gxHarvestPayloadResponseCB;
    AsyncCallback<const std::string> m_gxHarvestPayloadErrorResponseCB;
    /** The registry, in order of registration. Sub-types are unique but for those of custom uploads. */
    std::vector<std::unique_ptr<DFDiagnosticItem>> m_diagnosticItems;
    /** Type and sub-type of each file that the request in progress has produced. */
    DFSCommonPB::UploadTypes m_uploadTypes;
};
} // namespace DiagnosticFileSvc
