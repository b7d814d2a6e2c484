#include "DFItemRegistry.h"

#include "DFConstants.h"
#include "DFDiagItemExistingFile.h"
#include "DFDiagItemGXFilepath.h"
#include "DFDiagItemGXPayload.h"
#include "DFDiagItemScript.h"
#include "DFLimits.h"
#include "DFLog.h"
#include "Filename.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

// How many bytes of the sub-type the log shows of an item that is refused.
constexpr std::size_t kNameInLog = 64;

std::size_t SizeOf(const DFDiagnosticItem& item)
{
    return item.GetInput().size() + item.GetOutputFilename().size() + item.GetSubType().size();
}
} // namespace

DFItemRegistry::DFItemRegistry(Links links) : m_links(std::move(links)) {}

void DFItemRegistry::SetGatrixClient(std::shared_ptr<DFGatrixClient> gatrixClient)
{
    m_gatrixClient = std::move(gatrixClient);
}

bool DFItemRegistry::IsRefused(const char* operation, const DFDiagnosticItem& item)
{
    const std::string refusal = WhyRefused(item);
    if (!refusal.empty()) {
        LogLine(s_log, LogLevel::Warning, operation, "Registration refused, ", refusal,
                ", subType: ", item.GetSubType().substr(0, kNameInLog));
    }
    return !refusal.empty();
}

void DFItemRegistry::DiagItemRegistrationCB(const DFDiagnosticItem& item)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::DiagItemRegistrationCB");
    if (IsRefused(__func__, item)) {
        return;
    }
    LogProgress(s_log, __func__, "GetInput(): ", item.GetInput());
    LogProgress(s_log, __func__, "GetOutputFilename(): ", item.GetOutputFilename());
    LogProgress(s_log, __func__, "GetHarvestType(): ", item.GetHarvestType());
    LogProgress(s_log, __func__, "GetDiagFileType(): ", item.GetDiagFileType());
    LogProgress(s_log, __func__, "GetSubType(): ", item.GetSubType());

    const bool isKnown = std::any_of(m_items.begin(), m_items.end(),
                                     [&item](const auto& known) { return known->GetSubType() == item.GetSubType(); });
    if (isKnown) {
        LogProgress(s_log, __func__, "!!!!!!!!!!!!!!!!!the new diagFileItem already is in the list");
        return;
    }
    if (m_items.size() >= kMaxRegisteredItems ||
        std::accumulate(m_items.begin(), m_items.end(), SizeOf(item), [](std::size_t sum, const auto& known) {
            return sum + SizeOf(*known);
        }) > kMaxRegisteredBytes) {
        LogLine(s_log, LogLevel::Warning, __func__, "Registration refused, the registry is full with ", m_items.size(),
                " items, subType: ", item.GetSubType().substr(0, kNameInLog));
        return;
    }
    LogProgress(s_log, __func__, "Adding new diagFileItem to the list of diagnosticItems");
    AppendByHarvestType(item);
}

template <class Kind, class... Values>
void DFItemRegistry::Append(Values&&... values)
{
    m_items.push_back(std::make_unique<Kind>(m_links.harvester, std::forward<Values>(values)..., &m_links.onDone));
}

template <class Kind>
void DFItemRegistry::AppendGatrix(const DFDiagnosticItem& item, TextCallback& onResponse, TextCallback& onError)
{
    m_items.push_back(std::make_unique<Kind>(
        item, DFDiagItemGatrix::Links{m_links.harvester, &m_links.onDone, m_gatrixClient, &onResponse, &onError}));
}

void DFItemRegistry::AppendByHarvestType(const DFDiagnosticItem& item)
{
    constexpr const char* kOperation = "DiagItemRegistrationCB";
    switch (item.GetHarvestType()) {
        case DFSCommonPB::SCRIPT:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::SCRIPT");
            return Append<DFDiagItemScript>(item);
        case DFSCommonPB::EXISTING_FILE:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::EXISTING_FILE");
            return Append<DFDiagItemExistingFile>(item);
        case DFSCommonPB::GATRIX_RESPONSE_PAYLOAD:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::GATRIX_RESPONSE_PAYLOAD");
            return AppendGatrix<DFDiagItemGXPayload>(item, m_links.onPayload, m_links.onPayloadError);
        case DFSCommonPB::GATRIX_RESPONSE_FILEPATH:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::GATRIX_RESPONSE_FILEPATH");
            return AppendGatrix<DFDiagItemGXFilepath>(item, m_links.onFilepath, m_links.onFilepathError);
        default:
            LogProgress(s_log, kOperation, "Unsupported DFSCommonPB::HarvestType");
    }
}

void DFItemRegistry::RegisterBuiltInItems()
{
    for (const BuiltInItem& item : kBuiltInItems) {
        const std::string output = std::string(kPersistenceDirectory) + item.output;
        if (item.harvestType == kFile) {
            Append<DFDiagItemExistingFile>(item.input, output, item.fileType, item.subType, item.harvestType);
        } else {
            Append<DFDiagItemScript>(item.input, output, item.fileType, item.subType, item.harvestType);
        }
    }
}

void DFItemRegistry::AddCustomItem(const std::string& path, DFSCommonPB::DiagFileType fileType,
                                   const std::string& subType)
{
    Append<DFDiagItemExistingFile>(path, kCustomOutputPrefix + Files::FilenameOf(path), fileType, subType,
                                   DFSCommonPB::EXISTING_FILE);
}

void DFItemRegistry::RemoveCustomItems()
{
    const auto isTemporary = [](const std::unique_ptr<DFDiagnosticItem>& item) {
        if (item->GetOutputFilename().rfind(kCustomOutputPrefix, 0) != 0) {
            return false;
        }
        LogProgress(s_log, "RemoveOldDiagnosticFiles",
                    "Removing temporary custom file diagnostic item with subType: ", item->GetSubType());
        return true;
    };
    m_items.erase(std::remove_if(m_items.begin(), m_items.end(), isTemporary), m_items.end());
}

DFDiagnosticItem* DFItemRegistry::Find(const std::string& input) const
{
    for (const auto& item : m_items) {
        if (item->GetInput() == input) {
            return item.get();
        }
    }
    return nullptr;
}
} // namespace DiagnosticFileSvc
