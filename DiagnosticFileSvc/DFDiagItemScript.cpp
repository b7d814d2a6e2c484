#include "DFDiagItemScript.h"

#include "DFConstants.h"
#include "DFLog.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemScript");
}

DFDiagItemScript::DFDiagItemScript(std::shared_ptr<DFHarvestSystemInfo> harvester, const DFDiagnosticItem& item,
                                   DFHarvestSystemInfo::Answer* onDone)
    : DFDiagnosticItem(item), m_harvester(std::move(harvester)), m_onDone(onDone)
{}

DFDiagItemScript::DFDiagItemScript(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input,
                                   std::string outputFilename, DFSCommonPB::DiagFileType diagFileType,
                                   std::string subType, DFSCommonPB::HarvestType harvestType,
                                   DFHarvestSystemInfo::Answer* onDone)
    : DFDiagItemScript(
          std::move(harvester),
          DFDiagnosticItem(std::move(input), std::move(outputFilename), diagFileType, std::move(subType), harvestType),
          onDone)
{}

void DFDiagItemScript::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload a script");
    const std::string& output = BeginHarvestedFile();
    LogProgress(s_log, __func__, "outputFilename: ", output);
    m_harvester->CollectRequestedInfo(GetInput(), output, m_onDone);
}
} // namespace DiagnosticFileSvc
