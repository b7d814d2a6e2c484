#include "DFDiagItemExistingFile.h"

#include "DFConstants.h"
#include "DFLog.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagItemExistingFile");
}

DFDiagItemExistingFile::DFDiagItemExistingFile(std::shared_ptr<DFHarvestSystemInfo> harvester,
                                               const DFDiagnosticItem& item, DFHarvestSystemInfo::Answer* onDone)
    : DFDiagnosticItem(item), m_harvester(std::move(harvester)), m_onDone(onDone)
{}

DFDiagItemExistingFile::DFDiagItemExistingFile(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input,
                                               std::string outputFilename, DFSCommonPB::DiagFileType diagFileType,
                                               std::string subType, DFSCommonPB::HarvestType harvestType,
                                               DFHarvestSystemInfo::Answer* onDone)
    : DFDiagItemExistingFile(
          std::move(harvester),
          DFDiagnosticItem(std::move(input), std::move(outputFilename), diagFileType, std::move(subType), harvestType),
          onDone)
{}

void DFDiagItemExistingFile::ProcessDiagnosticItem()
{
    LogProgress(s_log, __func__, "ProcessDiagnosticItem - Encrypt and upload an existing file");
    const std::string command = kEncryptExistingFileCommand + GetInput();
    LogProgress(s_log, __func__, "Existing file inputCmd: ", command);
    m_harvester->CollectRequestedInfo(command, BeginHarvestedFile(), m_onDone);
}
} // namespace DiagnosticFileSvc
