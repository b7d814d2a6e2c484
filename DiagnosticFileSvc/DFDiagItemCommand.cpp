#include "DFDiagItemCommand.h"

#include <utility>

namespace DiagnosticFileSvc
{
DFDiagItemCommand::DFDiagItemCommand(std::shared_ptr<DFHarvestSystemInfo> harvester, const DFDiagnosticItem& item,
                                     DFHarvestSystemInfo::Answer* onDone)
    : DFDiagnosticItem(item), m_harvester(std::move(harvester)), m_onDone(onDone)
{}

DFDiagItemCommand::DFDiagItemCommand(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input,
                                     std::string outputFilename, DFSCommonPB::DiagFileType diagFileType,
                                     std::string subType, DFSCommonPB::HarvestType harvestType,
                                     DFHarvestSystemInfo::Answer* onDone)
    : DFDiagnosticItem(std::move(input), std::move(outputFilename), diagFileType, std::move(subType), harvestType),
      m_harvester(std::move(harvester)),
      m_onDone(onDone)
{}

void DFDiagItemCommand::Collect(const std::string& command, const std::string& outputPath)
{
    m_harvester->CollectRequestedInfo(command, outputPath, m_onDone);
}
} // namespace DiagnosticFileSvc
