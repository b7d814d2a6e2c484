#include "DFDiagItemScript.h"

#include "DFLog.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemScript");
}

void DFDiagItemScript::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload a script");
    const std::string& output = BeginHarvestedFile();
    LogProgress(s_log, __func__, "outputFilename: ", output);
    Collect(GetInput(), output);
}
} // namespace DiagnosticFileSvc
