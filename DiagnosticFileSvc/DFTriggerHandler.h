#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "DFDiagnosticItem.h"
#include "DFHarvestSystemInfo.h"
#include "DFItemCollector.h"
#include "DFItemRegistry.h"
#include "DFUploadFiles.h"
#include "DeviceManager.pb.h"
#include "UploadSysInfo.pb.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
class DFGatrixClient;
class DFUploadDiagnosticFiles;

/**
 * The service's central task. It keeps the registry of diagnostic items and turns an upload request into an answer:
 * chooses the items, has them collected one at a time, writes the manifest, has the archive packed and uploaded,
 * answers and cleans up. One request at a time; one that comes meanwhile is refused, not queued.
 *
 * Public operations only post to the task, where everything else happens. Thread-safe.
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
     * @param response invoked once, whatever fails, with the cloud's body and HTTP status. It gets 400 for a bad
     * request (see DFLimits.h for what is too much), an empty collection, a failed archive or an internal error. Not
     * owned; must stay alive until the next request's answer. While another request is in progress, that one's
     * requester is told 555 and this request is dropped unanswered.
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

    void SetGatrixClientCB(const std::shared_ptr<DFGatrixClient>& gatrixClient);
    void SetDeviceInfoCB(const DeviceManagerPb::DeviceInfo& info);
    DFUploadDiagnosticFiles* UploadClient();

    // The steps of a request, in their order.
    void UploadDiagFileRequestCB(const DFSCommonPB::UploadRequest& request, Answer* response);
    void FinishCollection();
    void CreateTarballFromManifest();
    void CreateUploadTarballResponseCB(bool isPacked);
    void UploadDiagFile();
    void UploadDiagFileRespCB(const std::string& text, int code);
    void FinishRequest(const std::string& text, int code);
    void RemoveOldDiagnosticFiles();
    template <class Step>
    void GuardRequest(const char* operation, Step step);

    bool m_isBusy = false;
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    /** Null as long as its task could not be started. */
    DFUploadDiagnosticFiles* m_uploadClient = nullptr;
    /** The registry. */
    DFItemRegistry m_diagnosticItems;
    /** Of the request in progress. */
    DFUploadFiles m_files;
    DFItemCollector m_collector;
    /** Whom to answer: the requester of the request in progress, or of the last one. Not owned. */
    Answer* m_response = nullptr;
    AsyncCallback<bool> m_createUploadTarballResponseCB;
    Answer m_uploadDiagFileRespCB;
    const AsyncCallback<DFDiagnosticItem> m_diagItemRegistrationCB;
    const AsyncCallback<const DFSCommonPB::UploadRequest, Answer*> m_uploadDiagFileRequestCB;
    const AsyncCallback<DeviceManagerPb::DeviceInfo> m_setDeviceInfoCB;
    const AsyncCallback<std::shared_ptr<DFGatrixClient>> m_setGatrixClientCB;
};
} // namespace DiagnosticFileSvc
