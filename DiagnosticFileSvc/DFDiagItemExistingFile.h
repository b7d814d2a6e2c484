#pragma once

#include "DFDiagnosticItem.h"
#include "DFHarvestSystemInfo.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
/** An item whose input is the path of a file: a copy of the file is collected, encrypted. */
class DFDiagItemExistingFile : public DFDiagnosticItem
{
public:
    /** @param onDone receives the outcome of each harvest; not owned, outlives the item. */
    DFDiagItemExistingFile(std::shared_ptr<DFHarvestSystemInfo> harvester, const DFDiagnosticItem& item,
                           DFHarvestSystemInfo::Answer* onDone);

    /** The same from the item's five values. */
    DFDiagItemExistingFile(std::shared_ptr<DFHarvestSystemInfo> harvester, std::string input,
                           std::string outputFilename, DFSCommonPB::DiagFileType diagFileType, std::string subType,
                           DFSCommonPB::HarvestType harvestType, DFHarvestSystemInfo::Answer* onDone);

    /** Runs the encrypting script on the input, which the shell reads unquoted. */
    void ProcessDiagnosticItem() override;

private:
    std::shared_ptr<DFHarvestSystemInfo> m_harvester;
    DFHarvestSystemInfo::Answer* m_onDone;
};
} // namespace DiagnosticFileSvc
