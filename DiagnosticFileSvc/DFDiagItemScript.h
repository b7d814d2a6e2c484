#pragma once

#include "DFDiagnosticItem.h"
#include "DFHarvestSystemInfo.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
/** An item whose input is a command: what the command prints is collected. */
class DFDiagItemScript : public DFDiagnosticItem
{
public:
    /** @param onDone receives the outcome of each harvest; not owned, outlives the item. */
    DFDiagItemScript(std::shared_ptr<DFHarvestSystemInfo> harvester, const DFDiagnosticItem& item,
                     DFHarvestSystemInfo::Answer* onDone);

    /** The same from the item's five values. */
    DFDiagItemScript(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input, std::string outputFilename,
                     DFSCommonPB::DiagFileType diagFileType, std::string subType, DFSCommonPB::HarvestType harvestType,
                     DFHarvestSystemInfo::Answer* onDone);

    /** Runs the input as it stands: the built-in ones begin with the wrapper that encrypts what the command prints. */
    void ProcessDiagnosticItem() override;

private:
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    DFHarvestSystemInfo::Answer* m_onDone;
};
} // namespace DiagnosticFileSvc
