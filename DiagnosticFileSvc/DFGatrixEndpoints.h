#pragma once

#include "APTask.h"
#include "AsyncCallback.h"
#include "Callback.h"
#include "GatrixClientIF.h"
#include "UploadSysInfo.pb.h"

#include <string>

namespace DiagnosticFileSvc
{
class DFTriggerHandler;

/**
 * The endpoints that the service offers on the gateway: upload requests and item registrations, posted or as
 * notifications, and two GET endpoints for tests. Requests go to the trigger handler, and its answers to the requester.
 *
 * Remembers the latest poster of each kind only. Runs on the task's thread.
 */
class DFGatrixEndpoints
{
public:
    /** Both must outlive the object. */
    DFGatrixEndpoints(APTask& task, DFTriggerHandler& triggerHandler);

    /** Offers them all. To be called on each connection. */
    void Register(Gatrix::GatrixClientIF& gatrix);

private:
    void RegisterUploadSysLogsPostRequest(Gatrix::GatrixClientIF& gatrix);
    void RegisterNotifications(Gatrix::GatrixClientIF& gatrix);
    void RegisterDFSHarvestFilepath(Gatrix::GatrixClientIF& gatrix);
    void RegisterDFSHarvestPayload(Gatrix::GatrixClientIF& gatrix);

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

    APTask& m_task;
    DFTriggerHandler& m_triggerHandler;
    /** Given to the trigger handler with each posted upload request. */
    AsyncCallback<const std::string, int> m_uploadResponseCB;
    /** Given to the trigger handler with each upload request that came as a notification. */
    AsyncCallback<const std::string, int> m_uploadNotifyResponseCB;
    Callback<DFSCommonPB::UploadResponse> m_onUploadAnswer;
    Callback<Gatrix::Error> m_onUploadError;
    Callback<DFSCommonPB::diagItemRegistrationResponse> m_onRegistrationAnswer;
};
} // namespace DiagnosticFileSvc
