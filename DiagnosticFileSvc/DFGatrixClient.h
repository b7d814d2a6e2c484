#pragma once

#include <memory>
#include <string>
#include <vector>

#include "APTask.h"
#include "AsyncCallback.h"
#include "Callback.h"
#include "DeviceManager.pb.h"
#include "GatrixClientIF.h"
#include "UploadSysInfo.pb.h"

namespace DiagnosticFileSvc
{
class DFTriggerHandler;

/**
 * The service's face towards the other on-device services, which reach it through the local API gateway. It takes their
 * upload requests and item registrations to the trigger handler and brings the answers back, fetches the device
 * information, and asks other services for what the gateway items collect.
 *
 * All its state belongs to its own task.
 */
class DFGatrixClient : public APTask, public std::enable_shared_from_this<DFGatrixClient>
{
public:
    /** Receives a text, in one of two such callbacks: what was asked for, or why it is unavailable. */
    using TextCallback = AsyncCallback<const std::string>;

    /**
     * The single instance. The first call makes it and begins to connect; later ones ignore the argument. Called during
     * start-up only, by one thread.
     *
     * @param triggerHandler not owned; outlives the client. It is given the instance as it stands while that is made:
     * empty.
     */
    static std::shared_ptr<DFGatrixClient> GetInstance(DFTriggerHandler* triggerHandler);

    /** Any thread: the single instance, empty as long as none has been made. */
    static std::shared_ptr<DFGatrixClient> ExistingInstance();

    ~DFGatrixClient() override;

    /**
     * Any thread: asks an endpoint for the path of a file to collect. One of the callbacks is invoked, once; they are
     * not owned and must stay alive until then. One such request at a time: a newer one's callbacks replace those of
     * one in progress.
     */
    void HarvestFilePathRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

    /**
     * The same for a payload: whatever JSON value the endpoint answers with, as text, with a backslash before each
     * single and double quote.
     */
    void HarvestPayloadRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);

protected:
    void OnEntry() override;

private:
    explicit DFGatrixClient(DFTriggerHandler* triggerHandler);

    static Gatrix::Error MakeError(int statusCode, const std::string& message);

    // The connection and what is offered on it, in DFGatrixClient.cpp
    void CreateGatrixClient();
    void ProcessWebsocketConnectionStatusCB(bool isConnected);
    void RegisterGXEndPointsOfInterest();
    void RegisterUploadSysLogsPostRequest();
    void RegisterNotifications();
    void RegisterDFSHarvestFilepath();
    void RegisterDFSHarvestPayload();
    void HandleEndpointsReady(const std::vector<std::string>& endpoints);
    void HandleEndpointsNotReady(const std::vector<std::string>& endpoints);

    // What others ask of the service, in DFGatrixClientRequests.cpp
    void HandleUploadSysLogsPostRequest(const DFSCommonPB::UploadRequest& request,
                                        const Callback<DFSCommonPB::UploadResponse>& onAnswer,
                                        const Callback<Gatrix::Error>& onError);
    void DiagUploadResponseCB(const std::string& message, int statusCode);
    void UploadSysInfoNotifications(const DFSCommonPB::UploadRequest& request);
    void DiagUploadNotifyResponseCB(const std::string& message, int statusCode);
    void DiagItemRegistrationPostRequest(const DFSCommonPB::diagItemRegistration& registration,
                                         const Callback<DFSCommonPB::diagItemRegistrationResponse>& onAnswer,
                                         const Callback<Gatrix::Error>& onError);
    void DiagItemRegistration(const DFSCommonPB::diagItemRegistration& registration);
    void HandleGetFilepath(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer,
                           const Callback<Gatrix::Error>& onError);
    void HandleGetPayload(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer,
                          const Callback<Gatrix::Error>& onError);

    // What the service asks of others, in DFGatrixClientHarvest.cpp
    void GetDeviceInfo();
    void HandleGetDeviceInfoResponse(const DeviceManagerPb::DeviceInfo& info);
    void HandleErrorResponse(const Gatrix::Error& error);
    void HarvestFilePathRequestCB(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);
    void HarvestFilepathResponseCB(const DFSCommonPB::FilepathResponseMsg& answer);
    void HarvestFilepathErrorResponse(const Gatrix::Error& error);
    void HarvestPayloadRequestCB(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError);
    void HarvestPayloadResponseCB(const std::string& payload);
    void HarvestPayloadErrorResponse(const Gatrix::Error& error);

    DFTriggerHandler* const m_triggerHandler;
    /** Empty only when the library could not make one: then the service goes on without the gateway. */
    std::shared_ptr<Gatrix::GatrixClientIF> m_gatrixClient;
    /** Set with the first report that the endpoints of interest are ready, and never cleared. */
    bool m_areEndpointsReady = false;
    /** As last reported. */
    bool m_isWebsocketConnected = false;
    /** Given to the trigger handler with each posted upload request. */
    AsyncCallback<const std::string, int> m_uploadResponseCB;
    /** Whom to answer: the latest poster of an upload request. */
    Callback<DFSCommonPB::UploadResponse> m_onUploadAnswer;
    Callback<Gatrix::Error> m_onUploadError;
    /** Given to the trigger handler with each upload request that came as a notification. */
    AsyncCallback<const std::string, int> m_uploadNotifyResponseCB;
    /** The latest poster of a registration. */
    Callback<DFSCommonPB::diagItemRegistrationResponse> m_onRegistrationAnswer;
    const AsyncCallback<const bool> m_connectionStatusCB;
    const AsyncCallback<std::string, TextCallback*, TextCallback*> m_harvestFilePathRequestCB;
    const AsyncCallback<std::string, TextCallback*, TextCallback*> m_harvestPayloadRequestCB;
    const std::string m_persistenceSubdirectory;
    /** Whom to tell about the harvest in progress, one pair for each kind. Not owned. */
    TextCallback* m_onFilepath = nullptr;
    TextCallback* m_onFilepathError = nullptr;
    TextCallback* m_onPayload = nullptr;
    TextCallback* m_onPayloadError = nullptr;
};
} // namespace DiagnosticFileSvc
