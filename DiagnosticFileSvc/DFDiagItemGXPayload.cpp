#include "DFDiagItemGXPayload.h"

#include "DFConstants.h"
#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemGXPayload");
}

void DFDiagItemGXPayload::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload a PAYLOAD");
    if (const auto client = ClientOrError()) {
        client->HarvestPayloadRequest(GetInput(), GetLinks().onResponse, GetLinks().onError);
    }
}

void DFDiagItemGXPayload::ProcessGXResponse(const std::string& payload)
{
    const LogScope scope(s_log, __func__, "DFDiagItemGXPayload::ProcessGXResponse");
    const std::string command = kEncryptStringCommand + ('"' + payload + '"');
    GetLinks().harvester->CollectRequestedInfo(command, BeginHarvestedFile(), GetLinks().onDone);
}
} // namespace DiagnosticFileSvc
