#include "DFGatrixClient.h"

#include "DFConstants.h"
#include "DFGatrixError.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "GatrixClient.h"

#include <atomic>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

// Never destroyed, as the instance is in use until the process ends.
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
      m_connectionStatusCB(this, this, &DFGatrixClient::ProcessWebsocketConnectionStatusCB),
      m_endpoints(*this, *triggerHandler),
      m_harvests(*this, m_gatrixClient),
      m_harvestFilePathRequestCB(this, &m_harvests, &DFGatrixHarvests::HarvestFilePathRequestCB),
      m_harvestPayloadRequestCB(this, &m_harvests, &DFGatrixHarvests::HarvestPayloadRequestCB),
      m_persistenceSubdirectory(kPersistenceSubdirectory)
{
    const LogScope scope(s_log, __func__, "DFGatrixClient::DFGatrixClient()");
    CreateGatrixClient();
    // Empty the first time: the hand-over loads the registry all the same.
    m_triggerHandler->SetGatrixClient(ExistingInstance());
    // Last: a connection may have been reported already, and its handler needs what has been made here.
    CTask::Start();
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
        LogLine(s_log, LogLevel::Error, __func__, "The service goes on without the gateway: ", error.what());
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
    m_endpoints.Register(*m_gatrixClient);
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

void DFGatrixClient::GetDeviceInfo()
{
    const LogScope scope(s_log, __func__);
    m_gatrixClient->SendGetRequest(
        kSystemInfoEndpoint,
        AsyncCallback<DeviceManagerPb::DeviceInfo>(this, this, &DFGatrixClient::HandleGetDeviceInfoResponse),
        AsyncCallback<Gatrix::Error>(this, this, &DFGatrixClient::HandleErrorResponse));
}

void DFGatrixClient::HandleGetDeviceInfoResponse(const DeviceManagerPb::DeviceInfo& info)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "GOT a response from the GET request: ", [&info] { return info.DebugString(); });
    LogProgress(s_log, __func__, "deviceName: ", info.name());
    m_triggerHandler->SetDeviceInfo(info);
}

void DFGatrixClient::HandleErrorResponse(const Gatrix::Error& error)
{
    const LogScope scope(s_log, __func__);
    LogGatrixError(s_log, __func__, error);
}

void DFGatrixClient::HarvestFilePathRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "gx_endpoint: ", endpoint);
    m_harvestFilePathRequestCB(endpoint, onSuccess, onError);
}

void DFGatrixClient::HarvestPayloadRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "gx_endpoint: ", endpoint);
    m_harvestPayloadRequestCB(endpoint, onSuccess, onError);
}
} // namespace DiagnosticFileSvc
