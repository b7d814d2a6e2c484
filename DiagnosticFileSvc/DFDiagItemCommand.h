#pragma once

#include "DFDiagnosticItem.h"
#include "DFHarvestSystemInfo.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
/** An item that a command collects, at once. */
class DFDiagItemCommand : public DFDiagnosticItem
{
public:
    /** @param onDone receives the outcome of each harvest; not owned, outlives the item. */
    DFDiagItemCommand(std::shared_ptr<DFHarvestSystemInfo> harvester, const DFDiagnosticItem& item,
                      DFHarvestSystemInfo::Answer* onDone);

    /** The same from the item's five values. */
    DFDiagItemCommand(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input, std::string outputFilename,
                      DFSCommonPB::DiagFileType diagFileType, std::string subType, DFSCommonPB::HarvestType harvestType,
                      DFHarvestSystemInfo::Answer* onDone);

protected:
    /** Collects what the command prints, which is encrypted, in the file of that path. */
    void Collect(const std::string& command, const std::string& outputPath);

private:
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    DFHarvestSystemInfo::Answer* m_onDone;
};
} // namespace DiagnosticFileSvc
