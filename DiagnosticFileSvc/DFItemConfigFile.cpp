#include "DFItemConfigFile.h"

#include "DFConstants.h"
#include "DFFiles.h"
#include "DFItemRegistry.h"
#include "DFLog.h"
#include "ProtoPersistenceFactory.h"
#include "ProtoToMarkup.h"
#include "StringUtils.h"
#include "SystemUtils.h"
#include "UploadSysInfo.pb.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

constexpr double kConfigurationVersion = 1.2;

// Keeps a configuration file that cannot be read beside its place, for whoever edited it; the latest such file only.
void SetAside(const std::string& path)
{
    const std::string aside = path + ".rejected";
    if (std::rename(path.c_str(), aside.c_str()) == 0) {
        LogLine(s_log, LogLevel::Error, "LoadDiagItemsFromConfigFile", "It is kept as ", aside);
    } else {
        LogLine(s_log, LogLevel::Error, "LoadDiagItemsFromConfigFile", "It cannot be kept as ", aside, ": ",
                std::generic_category().message(errno));
    }
}
} // namespace

void LoadDiagItemsFromConfigFile(DFItemRegistry& registry)
{
    const LogScope scope(s_log, __func__);
    const std::string path = std::string(kPersistenceDirectory) + kItemConfigurationFile;
    if (!SystemUtils::Exists(path)) {
        LogProgress(s_log, __func__, "--- Diag Item Config DOES NOT Exist so create it");
        registry.RegisterBuiltInItems();
        CreateDiagItemConfigFile(registry);
        return;
    }
    LogProgress(s_log, __func__, "--- Diag Item Config Exists so Load it");
    const std::string text = ReadOwnFile(s_log, __func__, path);
    if (text.empty()) {
        LogLine(s_log, LogLevel::Error, __func__, "Could not load the diagnostic configuration file file");
        return;
    }
    DFSCommonPB::diagItemConfigList list;
    try {
        ProtoToMarkup::FromJson(text, list);
    } catch (const ProtoToMarkup::MarkupError& error) {
        // It goes the way of a file of another version: without items the service would be of no use.
        LogLine(s_log, LogLevel::Error, __func__, "The diagnostic configuration file cannot be read: ", error.what());
        SetAside(path);
        list.Clear();
    }
    LogProgress(s_log, __func__, "diagItemConfigList file_version: ", StringUtils::ToString(list.version()));
    if (list.version() != kConfigurationVersion) {
        LogProgress(s_log, __func__, "diagItemConfigList file version does not match current version");
        RemoveFile(s_log, __func__, path);
        registry.RegisterBuiltInItems();
        CreateDiagItemConfigFile(registry);
        return;
    }
    for (const auto& registration : list.item()) {
        registry.DiagItemRegistrationCB(DFDiagnosticItem(registration));
    }
}

void CreateDiagItemConfigFile(const DFItemRegistry& registry)
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::diagItemConfigList list;
    for (const auto& item : registry.GetItems()) {
        DFSCommonPB::diagItemRegistration& registration = *list.add_item();
        registration.set_input(item->GetInput());
        registration.set_filetype(item->GetDiagFileType());
        registration.set_subtype(item->GetSubType());
        registration.set_harvesttype(item->GetHarvestType());
        registration.set_outputfilename(item->GetOutputFilename());
    }
    list.set_version(kConfigurationVersion);
    s_log.Log(LogLevel::Progress, "%s: m_diagItemCreateConfigList size: %d", __func__, list.item_size());
    try {
        const std::string json = ProtoToMarkup::ToJson(list, true, false, false);
        LogProgress(s_log, __func__, "DiagItemConfigFile: ", json);
        const auto file = ProtoPersistenceFactory::Create(kItemConfigurationFile, kPersistenceSubdirectory);
        LogProgress(s_log, __func__, "Now convert diag items to json");
        file->Store(json);
    } catch (const ProtoPersistenceIF::ProtoPersistenceException& error) {
        s_log.Log(LogLevel::Error, "%s: DFS WriteDiagItemConfigFile store persistence error - %s", __func__,
                  error.what());
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(LogLevel::Error, "%s: DFS WriteDiagItemConfigFile markup error - %s", __func__, error.what());
    }
}
} // namespace DiagnosticFileSvc
