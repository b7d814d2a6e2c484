#include "DFGatrixClient.h"

#include <atomic>

#include "DFConstants.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "GatrixClient.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

constexpr char kServiceGroup[] = "DFService";
constexpr char kTestGroup[] = "TestGroup";
constexpr double kVersion = 1.0;

/** Never destroyed, as the instance is in use until the process ends. */
std::shared_ptr<DFGatrixClient>& Instance()
{
    static auto& instance = *new std::shared_ptr<DFGatrixClient>;
    return instance;
}
} // namespace

std::shared_ptr<DFGatrixClient> DFGatrixClient::GetInstance(DFTriggerHandler* triggerHandler)
{
    if (!ExistingInstance()) {
        LogProgress(s_log, __func__, "DFGatrixClient::GetInstance() - TP #1");
        std::atomic_store(&Instance(), std::shared_ptr<DFGatrixClient>(new DFGatrixClient(triggerHandler)));
    }
    return ExistingInstance();
}

std::shared_ptr<DFGatrixClient> DFGatrixClient::ExistingInstance()
{
    return std::atomic_load(&Instance());
}

DFGatrixClient::DFGatrixClient(DFTriggerHandler* triggerHandler)
    : APTask(kGatrixClient, 0, CTask::NOT_REALTIME, -1),
      m_triggerHandler(triggerHandler),
      m_uploadResponseCB(this, this, &DFGatrixClient::DiagUploadResponseCB),
      m_uploadNotifyResponseCB(this, this, &DFGatrixClient::DiagUploadNotifyResponseCB),
      m_connectionStatusCB(this, this, &DFGatrixClient::ProcessWebsocketConnectionStatusCB),
      m_harvestFilePathRequestCB(this, this, &DFGatrixClient::HarvestFilePathRequestCB),
      m_harvestPayloadRequestCB(this, this, &DFGatrixClient::HarvestPayloadRequestCB),
      m_persistenceSubdirectory(kPersistenceSubdirectory)
{
    const LogScope scope(s_log, __func__, "DFGatrixClient::DFGatrixClient()");
    CreateGatrixClient();
    // Empty the first time: the hand-over loads the registry all the same.
    m_triggerHandler->SetGatrixClient(ExistingInstance());
    // Last: a connection may have been reported already, and its handler needs what has been made here.
    CTask::Start();
}

Gatrix::Error DFGatrixClient::MakeError(int statusCode, const std::string& message)
{
    Gatrix::Error error;
    error.set_statuscode(statusCode);
    error.set_message(message);
    return error;
}

DFGatrixClient::~DFGatrixClient()
{
    APTask::Stop();
}

void DFGatrixClient::OnEntry()
{
    const LogScope scope(s_log, __func__, "DFGatrixClient::OnEntry");
}

void DFGatrixClient::CreateGatrixClient()
{
    const LogScope scope(s_log, __func__, "DFGatrixClient::CreateGatrixClient");
    try {
        m_gatrixClient =
            Gatrix::GatrixClient::Create("DiagFileServiceGatrixIF", "localhost", 8084, "meridel", "",
                                         m_connectionStatusCB, std::nullopt, Gatrix::CommonClientCreationInfo());
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The service goes on without the gateway: ", error.what());
    }
}

void DFGatrixClient::ProcessWebsocketConnectionStatusCB(bool isConnected)
{
    const LogScope scope(s_log, __func__, "");
    m_isWebsocketConnected = isConnected;
    if (!isConnected) {
        LogProgress(s_log, __func__, "GXC websocket NOT connected");
        return;
    }
    LogProgress(s_log, __func__, "GXC websocket connected");
    RegisterGXEndPointsOfInterest();
    RegisterUploadSysLogsPostRequest();
    RegisterNotifications();
    RegisterDFSHarvestFilepath();
    RegisterDFSHarvestPayload();
}

void DFGatrixClient::RegisterGXEndPointsOfInterest()
{
    const LogScope scope(s_log, __func__);
    using EndpointsCallback = Gatrix::GatrixClientIF::EndpointsCallback;
    m_gatrixClient->RegisterEndpointsOfInterest(
        {kUploadEndpoint, kDiagItemRegistrationEndpoint, kSystemInfoEndpoint},
        EndpointsCallback(this, this, &DFGatrixClient::HandleEndpointsReady),
        EndpointsCallback(this, this, &DFGatrixClient::HandleEndpointsNotReady));
}

void DFGatrixClient::RegisterUploadSysLogsPostRequest()
{
    const LogScope scope(s_log, __func__, "");
    using UploadHandler = Gatrix::GatrixClientIF::PostHandler<DFSCommonPB::UploadRequest, DFSCommonPB::UploadResponse>;
    using RegistrationHandler = Gatrix::GatrixClientIF::PostHandler<DFSCommonPB::diagItemRegistration,
                                                                    DFSCommonPB::diagItemRegistrationResponse>;
    m_gatrixClient->RegisterPostHandler(kUploadEndpoint,
                                        UploadHandler(this, this, &DFGatrixClient::HandleUploadSysLogsPostRequest),
                                        kVersion, kServiceGroup);
    m_gatrixClient->RegisterPostHandler(
        kDiagItemRegistrationEndpoint,
        RegistrationHandler(this, this, &DFGatrixClient::DiagItemRegistrationPostRequest), kVersion, kServiceGroup);
}

void DFGatrixClient::RegisterNotifications()
{
    const LogScope scope(s_log, __func__, "");
    m_gatrixClient->SubscribeToNotification(
        kUploadEndpoint,
        AsyncCallback<DFSCommonPB::UploadRequest>(this, this, &DFGatrixClient::UploadSysInfoNotifications), kVersion);
    m_gatrixClient->SubscribeToNotification(
        kDiagItemRegistrationEndpoint,
        AsyncCallback<DFSCommonPB::diagItemRegistration>(this, this, &DFGatrixClient::DiagItemRegistration), kVersion);
}

void DFGatrixClient::RegisterDFSHarvestFilepath()
{
    const LogScope scope(s_log, __func__);
    using Handler = Gatrix::GatrixClientIF::GetHandler<DFSCommonPB::FilepathResponseMsg>;
    m_gatrixClient->RegisterGetHandler(kTestFilepathEndpoint, Handler(this, this, &DFGatrixClient::HandleGetFilepath),
                                       kTestGroup);
}

void DFGatrixClient::RegisterDFSHarvestPayload()
{
    const LogScope scope(s_log, __func__);
    using Handler = Gatrix::GatrixClientIF::GetHandler<DFSCommonPB::PayloadResponseMsg>;
    m_gatrixClient->RegisterGetHandler(kTestPayloadEndpoint, Handler(this, this, &DFGatrixClient::HandleGetPayload),
                                       kTestGroup);
}

void DFGatrixClient::HandleEndpointsReady(const std::vector<std::string>& /*endpoints*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "GOT a points of interest READY");
    m_areEndpointsReady = true;
    GetDeviceInfo();
}

void DFGatrixClient::HandleEndpointsNotReady(const std::vector<std::string>& /*endpoints*/)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "GOT a points of interest NOT READY");
}
} // namespace DiagnosticFileSvc
