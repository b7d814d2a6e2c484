#include "DFDiagItemGatrix.h"

#include "DFConstants.h"

#include <utility>

namespace DiagnosticFileSvc
{
DFDiagItemGatrix::DFDiagItemGatrix(const DFDiagnosticItem& item, Links links)
    : DFDiagnosticItem(item), m_links(std::move(links))
{}

DFDiagItemGatrix::DFDiagItemGatrix(std::string input, std::string outputFilename,
                                   DFSCommonPB::DiagFileType diagFileType, std::string subType,
                                   DFSCommonPB::HarvestType harvestType, Links links)
    : DFDiagnosticItem(std::move(input), std::move(outputFilename), diagFileType, std::move(subType), harvestType),
      m_links(std::move(links))
{}

std::shared_ptr<DFGatrixClient> DFDiagItemGatrix::ClientOrError() const
{
    auto client = m_links.gatrixClient ? m_links.gatrixClient : DFGatrixClient::ExistingInstance();
    if (!client) {
        (*m_links.onError)(kNoGatrixClientAnswer);
    }
    return client;
}
} // namespace DiagnosticFileSvc
