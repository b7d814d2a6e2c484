#pragma once

#include "DFDiagnosticItem.h"
#include "DFGatrixClient.h"
#include "DFHarvestSystemInfo.h"

#include <memory>
#include <string>

namespace DiagnosticFileSvc
{
/** What the items share whose input is a gateway endpoint: a service is asked, and its answer is what is collected. */
class DFDiagItemGatrix : public DFDiagnosticItem
{
public:
    /** Through whom an item asks, and whom it tells. No callback is owned; all outlive the item. */
    struct Links
    {
        std::shared_ptr<DFHarvestSystemInfo> harvester;
        /** Receives the outcome of a harvest that got an answer. */
        DFHarvestSystemInfo::Answer* onDone = nullptr;
        /** May be empty: then the instance is asked that exists when the item runs. */
        std::shared_ptr<DFGatrixClient> gatrixClient;
        /** Receives the answer, with which the harvest goes on by ProcessGXResponse. */
        DFGatrixClient::TextCallback* onResponse = nullptr;
        /** Receives why there is no answer, which ends the harvest. */
        DFGatrixClient::TextCallback* onError = nullptr;
    };

    DFDiagItemGatrix(const DFDiagnosticItem& item, Links links);

    /** The same from the item's five values. */
    DFDiagItemGatrix(std::string input, std::string outputFilename, DFSCommonPB::DiagFileType diagFileType,
                     std::string subType, DFSCommonPB::HarvestType harvestType, Links links);

protected:
    /** Through whom to ask; empty when there is no client at all, and then the error callback has been invoked. */
    std::shared_ptr<DFGatrixClient> ClientOrError() const;

    const Links& GetLinks() const { return m_links; }

private:
    Links m_links;
};
} // namespace DiagnosticFileSvc
