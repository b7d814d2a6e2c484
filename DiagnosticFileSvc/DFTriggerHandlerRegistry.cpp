// The registry of diagnostic items and its configuration file.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <numeric>
#include <system_error>
#include <utility>

#include "DFConstants.h"
#include "DFDiagItemExistingFile.h"
#include "DFDiagItemGXFilepath.h"
#include "DFDiagItemGXPayload.h"
#include "DFDiagItemScript.h"
#include "DFFiles.h"
#include "DFLimits.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "ProtoPersistenceFactory.h"
#include "ProtoToMarkup.h"
#include "StringUtils.h"
#include "SystemUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

constexpr double kConfigurationVersion = 1.2;

/** How many bytes of the sub-type the log shows of an item that is refused. */
constexpr std::size_t kNameInLog = 64;

struct BuiltInItem
{
    const char* subType;
    const char* input;
    const char* output;
    DFSCommonPB::DiagFileType fileType;
    bool isExistingFile;
};

// The disk-free type is that of the memory and disk script, and the update files, plain text, end in ".json": kept.
constexpr BuiltInItem kBuiltInItems[] = {
    {"logread", kSystemLogScript, kSystemLogOutput, DFSCommonPB::LOGREAD, false},
    {"network info", kNetworkingScript, kNetworkingOutput, DFSCommonPB::NETWORKING_INFO, false},
    {"mfg_data", kManufacturingData, kManufacturingDataOutput, DFSCommonPB::PERSIST_MFGDATA, true},
    {"proc_loadavg", kLoadAverage, kLoadAverageOutput, DFSCommonPB::PROC_LOADAVG, true},
    {"memory disk info", kMemoryDiskScript, kMemoryDiskOutput, DFSCommonPB::DISK_FREE_INFO, false},
    {"uptime", kUptimeScript, kUptimeOutput, DFSCommonPB::PROC_UPTIME, false},
    {"mpstat", kCpuStatisticsScript, kCpuStatisticsOutput, DFSCommonPB::MPSTAT, false},
    {"top", kProcessListScript, kProcessListOutput, DFSCommonPB::TOP, false},
    {"swup_hsm_states", kUpdateStates, kUpdateStatesOutput, DFSCommonPB::SWUP_HSM_STATES, true},
    {"swup_sys_status", kUpdateSystemStatus, kUpdateSystemStatusOutput, DFSCommonPB::SWUP_SYS_STATUS, true},
    {"swup_release_history", kUpdateReleaseHistory, kUpdateReleaseHistoryOutput, DFSCommonPB::SWUP_RELEASE_HISTORY,
     true},
    {"coredumpfilelist", kCoreDumpListCommand, kCoreDumpListOutput, DFSCommonPB::CORE_DUMP_FILE_LIST, false},
};

std::string ConfigurationPath()
{
    return std::string(kPersistenceDirectory) + kItemConfigurationFile;
}

/** Whether an item has texts that the registry does not take, which is logged. */
bool IsRefused(const char* operation, const DFDiagnosticItem& item)
{
    const std::string refusal = WhyRefused(item);
    if (!refusal.empty()) {
        LogLine(s_log, LOG_LEVEL_WARNING, operation, "Registration refused, ", refusal,
                ", subType: ", item.GetSubType().substr(0, kNameInLog));
    }
    return !refusal.empty();
}

std::size_t SizeOf(const DFDiagnosticItem& item)
{
    return item.GetInput().size() + item.GetOutputFilename().size() + item.GetSubType().size();
}

/** Keeps a configuration file that cannot be read beside its place, for whoever edited it; the latest such file only.
 */
void SetAside(const std::string& path)
{
    const std::string aside = path + ".rejected";
    if (std::rename(path.c_str(), aside.c_str()) == 0) {
        LogLine(s_log, LOG_LEVEL_ERROR, "LoadDiagItemsFromConfigFile", "It is kept as ", aside);
    } else {
        LogLine(s_log, LOG_LEVEL_ERROR, "LoadDiagItemsFromConfigFile", "It cannot be kept as ", aside, ": ",
                std::generic_category().message(errno));
    }
}
} // namespace

void DFTriggerHandler::SetGatrixClient(std::shared_ptr<DFGatrixClient> gatrixClient)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetGatrixClient");
    m_setGatrixClientCB(std::move(gatrixClient));
}

void DFTriggerHandler::SetGatrixClientCB(const std::shared_ptr<DFGatrixClient>& gatrixClient)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::SetGatrixClientCB");
    m_gatrixClient = gatrixClient;
    LoadDiagItemsFromConfigFile();
}

void DFTriggerHandler::DiagItemRegistration(DFDiagnosticItem item)
{
    const LogScope scope(s_log, __func__, "DFTriggerHandler::DiagItemRegistration");
    // Before it is posted: a flood of large registrations would fill the queue.
    if (!IsRefused(__func__, item)) {
        m_diagItemRegistrationCB(std::move(item));
    }
}

void DFTriggerHandler::DiagItemRegistrationCB(const DFDiagnosticItem& item)
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

    const bool isKnown = std::any_of(m_diagnosticItems.begin(), m_diagnosticItems.end(),
                                     [&item](const auto& known) { return known->GetSubType() == item.GetSubType(); });
    if (isKnown) {
        LogProgress(s_log, __func__, "!!!!!!!!!!!!!!!!!the new diagFileItem already is in the list");
        return;
    }
    if (m_diagnosticItems.size() >= kMaxRegisteredItems ||
        std::accumulate(m_diagnosticItems.begin(), m_diagnosticItems.end(), SizeOf(item),
                        [](std::size_t sum, const auto& known) { return sum + SizeOf(*known); }) >
            kMaxRegisteredBytes) {
        LogLine(s_log, LOG_LEVEL_WARNING, __func__, "Registration refused, the registry is full with ",
                m_diagnosticItems.size(), " items, subType: ", item.GetSubType().substr(0, kNameInLog));
        return;
    }
    LogProgress(s_log, __func__, "Adding new diagFileItem to the list of diagnosticItems");
    if (auto made = MakeItem(item)) {
        m_diagnosticItems.push_back(std::move(made));
    }
}

std::unique_ptr<DFDiagnosticItem> DFTriggerHandler::MakeItem(const DFDiagnosticItem& item)
{
    constexpr const char* kOperation = "DiagItemRegistrationCB";
    switch (item.GetHarvestType()) {
        case DFSCommonPB::SCRIPT:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::SCRIPT");
            return std::make_unique<DFDiagItemScript>(m_harvester, item, &m_harvestSysInfoResponseCB);
        case DFSCommonPB::EXISTING_FILE:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::EXISTING_FILE");
            return std::make_unique<DFDiagItemExistingFile>(m_harvester, item, &m_harvestSysInfoResponseCB);
        case DFSCommonPB::GATRIX_RESPONSE_PAYLOAD:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::GATRIX_RESPONSE_PAYLOAD");
            return std::make_unique<DFDiagItemGXPayload>(
                item, DFDiagItemGatrix::Links{m_harvester, &m_harvestSysInfoResponseCB, m_gatrixClient,
                                              &m_gxHarvestPayloadResponseCB, &m_gxHarvestPayloadErrorResponseCB});
        case DFSCommonPB::GATRIX_RESPONSE_FILEPATH:
            LogProgress(s_log, kOperation, "DFSCommonPB::HarvestType::GATRIX_RESPONSE_FILEPATH");
            return std::make_unique<DFDiagItemGXFilepath>(
                item, DFDiagItemGatrix::Links{m_harvester, &m_harvestSysInfoResponseCB, m_gatrixClient,
                                              &m_gxHarvestFilepathResponseCB, &m_gxHarvestFilepathErrorResponseCB});
        default:
            LogProgress(s_log, kOperation, "Unsupported DFSCommonPB::HarvestType");
            return nullptr;
    }
}

void DFTriggerHandler::RegisterBuiltInItems()
{
    for (const BuiltInItem& item : kBuiltInItems) {
        if (item.isExistingFile) {
            m_diagnosticItems.push_back(std::make_unique<DFDiagItemExistingFile>(
                m_harvester, item.input, item.output, item.fileType, item.subType, DFSCommonPB::EXISTING_FILE,
                &m_harvestSysInfoResponseCB));
        } else {
            m_diagnosticItems.push_back(
                std::make_unique<DFDiagItemScript>(m_harvester, item.input, item.output, item.fileType, item.subType,
                                                   DFSCommonPB::SCRIPT, &m_harvestSysInfoResponseCB));
        }
    }
}

void DFTriggerHandler::LoadDiagItemsFromConfigFile()
{
    const LogScope scope(s_log, __func__);
    const std::string path = ConfigurationPath();
    if (!SystemUtils::Exists(path)) {
        LogProgress(s_log, __func__, "--- Diag Item Config DOES NOT Exist so create it");
        RegisterBuiltInItems();
        CreateDiagItemConfigFile();
        return;
    }
    LogProgress(s_log, __func__, "--- Diag Item Config Exists so Load it");
    const std::string text = ReadOwnFile(s_log, __func__, path);
    if (text.empty()) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "Could not load the diagnostic configuration file file");
        return;
    }
    DFSCommonPB::diagItemConfigList list;
    try {
        ProtoToMarkup::FromJson(text, list);
    } catch (const ProtoToMarkup::MarkupError& error) {
        // It goes the way of a file of another version: without items the service would be of no use.
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The diagnostic configuration file cannot be read: ", error.what());
        SetAside(path);
        list.Clear();
    }
    LogProgress(s_log, __func__, "diagItemConfigList file_version: ", StringUtils::ToString(list.version()));
    if (list.version() != kConfigurationVersion) {
        LogProgress(s_log, __func__, "diagItemConfigList file version does not match current version");
        RemoveFile(s_log, __func__, path);
        RegisterBuiltInItems();
        CreateDiagItemConfigFile();
        return;
    }
    for (const auto& registration : list.item()) {
        DiagItemRegistrationCB(DFDiagnosticItem(registration));
    }
}

void DFTriggerHandler::CreateDiagItemConfigFile()
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::diagItemConfigList list;
    for (const auto& item : m_diagnosticItems) {
        DFSCommonPB::diagItemRegistration& registration = *list.add_item();
        registration.set_input(item->GetInput());
        registration.set_filetype(item->GetDiagFileType());
        registration.set_subtype(item->GetSubType());
        registration.set_harvesttype(item->GetHarvestType());
        registration.set_outputfilename(item->GetOutputFilename());
    }
    list.set_version(kConfigurationVersion);
    s_log.Log(LOG_LEVEL_PROGRESS, "%s: m_diagItemCreateConfigList size: %d", __func__, list.item_size());
    try {
        const std::string json = ProtoToMarkup::ToJson(list, true, false, false);
        LogProgress(s_log, __func__, "DiagItemConfigFile: ", json);
        const auto file = ProtoPersistenceFactory::Create(kItemConfigurationFile, kPersistenceSubdirectory);
        LogProgress(s_log, __func__, "Now convert diag items to json");
        file->Store(json);
    } catch (const ProtoPersistenceIF::ProtoPersistenceException& error) {
        s_log.Log(LOG_LEVEL_ERROR, "%s: DFS WriteDiagItemConfigFile store persistence error - %s", __func__,
                  error.what());
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(LOG_LEVEL_ERROR, "%s: DFS WriteDiagItemConfigFile markup error - %s", __func__, error.what());
    }
}
} // namespace DiagnosticFileSvc
