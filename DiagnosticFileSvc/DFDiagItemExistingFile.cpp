#include "DFDiagItemExistingFile.h"

#include "DFConstants.h"
#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemExistingFile");
}

void DFDiagItemExistingFile::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload an existing file");
    const std::string command = kEncryptExistingFileCommand + GetInput();
    LogProgress(s_log, __func__, "Existing file inputCmd: ", command);
    Collect(command, BeginHarvestedFile());
}
} // namespace DiagnosticFileSvc
