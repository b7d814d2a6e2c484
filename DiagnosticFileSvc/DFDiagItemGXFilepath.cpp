#include "DFDiagItemGXFilepath.h"

#include "DFConstants.h"
#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemGXFilepath");
}

void DFDiagItemGXFilepath::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload a file via a filepath");
    if (const auto client = ClientOrError()) {
        client->HarvestFilePathRequest(GetInput(), GetLinks().onResponse, GetLinks().onError);
    }
}

void DFDiagItemGXFilepath::ProcessGXResponse(const std::string& path)
{
    const LogScope scope(s_log, __func__, "DFDiagItemGXFilepath::ProcessGXResponse");
    const std::string command = kEncryptExistingFileCommand + path;
    LogProgress(s_log, __func__, "Existing file inputCmd: ", command);
    GetLinks().harvester->CollectRequestedInfo(command, BeginHarvestedFile(), GetLinks().onDone);
}
} // namespace DiagnosticFileSvc
