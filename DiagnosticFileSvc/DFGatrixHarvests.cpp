#include "DFGatrixHarvests.h"

#include "DFConstants.h"
#include "DFGatrixClient.h"
#include "DFGatrixError.h"
#include "DFGuard.h"
#include "StringUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

constexpr char kPayloadRequestBody[] = R"({"dummyPayload":"dummy payload data"})";
constexpr double kPayloadRequestVersion = 1.0;

// Does one step of a harvest. Whatever it throws ends the harvest with its error, so that no upload waits for it.
template <class Step>
void GuardHarvest(const char* operation, const DFGatrixHarvests::TextCallback& onError, Step step)
{
    GuardStep(s_log, operation, "The harvest", step, [&](const std::exception& error) { onError(error.what()); });
}
} // namespace

DFGatrixHarvests::DFGatrixHarvests(DFGatrixClient& client, const std::shared_ptr<Gatrix::GatrixClientIF>& gatrix)
    : m_client(client), m_gatrix(gatrix)
{}

// This object, as a pointer that keeps the client alive.
std::shared_ptr<DFGatrixHarvests> DFGatrixHarvests::Self()
{
    return {m_client.shared_from_this(), this};
}

void DFGatrixHarvests::HarvestFilePathRequestCB(const std::string& endpoint, TextCallback* onSuccess,
                                                TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    m_filepath = {onSuccess, onError};
    if (!m_gatrix) {
        HarvestFilepathErrorResponse(MakeError(503, kNoGatrixClientAnswer));
        return;
    }
    GuardHarvest(__func__, *onError, [&] {
        m_gatrix->SendGetRequest(
            endpoint,
            AsyncCallback<DFSCommonPB::FilepathResponseMsg>(&m_client, Self(),
                                                            &DFGatrixHarvests::HarvestFilepathResponseCB),
            AsyncCallback<Gatrix::Error>(&m_client, Self(), &DFGatrixHarvests::HarvestFilepathErrorResponse));
    });
}

void DFGatrixHarvests::HarvestFilepathResponseCB(const DFSCommonPB::FilepathResponseMsg& answer)
{
    const LogScope scope(s_log, __func__);
    GuardHarvest(__func__, *m_filepath.onError, [&] { (*m_filepath.onSuccess)(answer.filepathtoupload()); });
}

void DFGatrixHarvests::HarvestFilepathErrorResponse(const Gatrix::Error& error)
{
    const LogScope scope(s_log, __func__);
    LogGatrixError(s_log, __func__, error);
    (*m_filepath.onError)(error.DebugString());
}

void DFGatrixHarvests::HarvestPayloadRequestCB(const std::string& endpoint, TextCallback* onSuccess,
                                               TextCallback* onError)
{
    const LogScope scope(s_log, __func__);
    m_payload = {onSuccess, onError};
    if (!m_gatrix) {
        HarvestPayloadErrorResponse(MakeError(503, kNoGatrixClientAnswer));
        return;
    }
    GuardHarvest(__func__, *onError, [&] {
        m_gatrix->SendGetRequest(
            endpoint, kPayloadRequestBody, kPayloadRequestVersion,
            AsyncCallback<const std::string>(&m_client, Self(), &DFGatrixHarvests::HarvestPayloadResponseCB),
            AsyncCallback<Gatrix::Error>(&m_client, Self(), &DFGatrixHarvests::HarvestPayloadErrorResponse));
    });
}

void DFGatrixHarvests::HarvestPayloadResponseCB(const std::string& payload)
{
    const LogScope scope(s_log, __func__);
    GuardHarvest(__func__, *m_payload.onError, [&] {
        const std::string escaped =
            StringUtils::FindReplace(StringUtils::FindReplace(payload, "'", "\\'"), "\"", "\\\"");
        LogProgress(s_log, "HarvestPayloadResponseCB", "debugEscape #1111: ", escaped);
        (*m_payload.onSuccess)(escaped);
    });
}

void DFGatrixHarvests::HarvestPayloadErrorResponse(const Gatrix::Error& error)
{
    const LogScope scope(s_log, __func__);
    LogGatrixError(s_log, __func__, error);
    (*m_payload.onError)(error.DebugString());
}
} // namespace DiagnosticFileSvc
