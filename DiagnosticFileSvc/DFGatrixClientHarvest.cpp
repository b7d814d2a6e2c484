// What this service asks of others through the gateway: the device information, and what gateway items collect.

#include "DFConstants.h"
#include "DFGatrixClient.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "StringUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

constexpr char kPayloadRequestBody[] = R"({"dummyPayload":"dummy payload data"})";
constexpr double kPayloadRequestVersion = 1.0;

void LogGatrixError(const char* operation, const Gatrix::Error& error)
{
    LogLine(s_log, LOG_LEVEL_ERROR, operation,
            "GOT an ERROR from the GatrixClient: ", [&error] { return error.DebugString(); });
}

/** Does one step of a harvest. Whatever it throws ends the harvest with its error, so that no upload waits for it. */
template <class Step>
void GuardHarvest(const char* operation, DFGatrixClient::TextCallback& onError, Step step)
{
    try {
        step();
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, operation, "The harvest ends with an exception: ", error.what());
        onError(error.what());
    }
}
} // namespace

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
    LogGatrixError(__func__, error);
}

void DFGatrixClient::HarvestFilePathRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "gx_endpoint: ", endpoint);
    m_harvestFilePathRequestCB(endpoint, onSuccess, onError);
}

void DFGatrixClient::HarvestFilePathRequestCB(const std::string& endpoint, TextCallback* onSuccess,
                                              TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    m_onFilepath = onSuccess;
    m_onFilepathError = onError;
    if (!m_gatrixClient) {
        HarvestFilepathErrorResponse(MakeError(503, kNoGatrixClientAnswer));
        return;
    }
    GuardHarvest(__func__, *m_onFilepathError, [&] {
        m_gatrixClient->SendGetRequest(
            endpoint,
            AsyncCallback<DFSCommonPB::FilepathResponseMsg>(this, shared_from_this(),
                                                            &DFGatrixClient::HarvestFilepathResponseCB),
            AsyncCallback<Gatrix::Error>(this, shared_from_this(), &DFGatrixClient::HarvestFilepathErrorResponse));
    });
}

void DFGatrixClient::HarvestFilepathResponseCB(const DFSCommonPB::FilepathResponseMsg& answer)
{
    const LogScope scope(s_log, __func__);
    GuardHarvest(__func__, *m_onFilepathError, [&] { (*m_onFilepath)(answer.filepathtoupload()); });
}

void DFGatrixClient::HarvestFilepathErrorResponse(const Gatrix::Error& error)
{
    const LogScope scope(s_log, __func__);
    LogGatrixError(__func__, error);
    (*m_onFilepathError)(error.DebugString());
}

void DFGatrixClient::HarvestPayloadRequest(const std::string& endpoint, TextCallback* onSuccess, TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "gx_endpoint: ", endpoint);
    m_harvestPayloadRequestCB(endpoint, onSuccess, onError);
}

void DFGatrixClient::HarvestPayloadRequestCB(const std::string& endpoint, TextCallback* onSuccess,
                                             TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    m_onPayload = onSuccess;
    m_onPayloadError = onError;
    if (!m_gatrixClient) {
        HarvestPayloadErrorResponse(MakeError(503, kNoGatrixClientAnswer));
        return;
    }
    GuardHarvest(__func__, *m_onPayloadError, [&] {
        m_gatrixClient->SendGetRequest(
            endpoint, kPayloadRequestBody, kPayloadRequestVersion,
            AsyncCallback<const std::string>(this, shared_from_this(), &DFGatrixClient::HarvestPayloadResponseCB),
            AsyncCallback<Gatrix::Error>(this, shared_from_this(), &DFGatrixClient::HarvestPayloadErrorResponse));
    });
}

void DFGatrixClient::HarvestPayloadResponseCB(const std::string& payload)
{
    const LogScope scope(s_log, __func__);
    GuardHarvest(__func__, *m_onPayloadError, [&] {
        const std::string escaped =
            StringUtils::FindReplace(StringUtils::FindReplace(payload, "'", "\\'"), "\"", "\\\"");
        LogProgress(s_log, "HarvestPayloadResponseCB", "debugEscape #1111: ", escaped);
        (*m_onPayload)(escaped);
    });
}

void DFGatrixClient::HarvestPayloadErrorResponse(const Gatrix::Error& error)
{
    const LogScope scope(s_log, __func__);
    LogGatrixError(__func__, error);
    (*m_onPayloadError)(error.DebugString());
}
} // namespace DiagnosticFileSvc
