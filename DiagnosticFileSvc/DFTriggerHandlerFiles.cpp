// What a request leaves on the device: the manifest, the list of files to pack, and the clean-up.

#include <algorithm>
#include <map>
#include <string>

#include "DFConstants.h"
#include "DFFiles.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "ProtoPersistenceFactory.h"
#include "ProtoToMarkup.h"
#include "SystemUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

constexpr double kManifestVersion = 1.0;

/** The manifest that the last request, or one that a crash ended, has left. Empty when there is none to be read. */
DFSCommonPB::UploadManifest ReadManifestFile(const char* operation)
{
    DFSCommonPB::UploadManifest manifest;
    const std::string text = ReadOwnFile(s_log, operation, std::string(kPersistenceDirectory) + kUploadManifestFile);
    if (text.empty()) {
        LogProgress(s_log, operation, "Could not load the manifest file");
        return manifest;
    }
    try {
        ProtoToMarkup::FromJson(text, manifest);
    } catch (const ProtoToMarkup::MarkupError& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, operation, "The manifest file cannot be read: ", error.what());
        manifest.Clear();
    }
    return manifest;
}
} // namespace

void DFTriggerHandler::WriteUploadManifest()
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "UploadManifest size: ", m_uploadManifest.item_size());
    m_uploadManifest.set_version(kManifestVersion);
    LogProgress(s_log, __func__, "UploadManifest: ", [this] { return m_uploadManifest.DebugString(); });
    try {
        const auto file = ProtoPersistenceFactory::Create(kUploadManifestFile, kPersistenceSubdirectory);
        LogProgress(s_log, __func__, "Now convert manifest to json");
        file->Store(ProtoToMarkup::ToJson(m_uploadManifest, true, false, false));
    } catch (const ProtoPersistenceIF::ProtoPersistenceException& error) {
        s_log.Log(LOG_LEVEL_ERROR, "%s: DFS UploadManifest store persistence error - %s", __func__, error.what());
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(LOG_LEVEL_ERROR, "%s: DFS UploadManifest markup error - %s", __func__, error.what());
    }
}

void DFTriggerHandler::CreateTarballFromManifest()
{
    const LogScope scope(s_log, __func__);
    std::string filesToTar = kUploadManifestFile;
    std::map<std::string, std::string> subTypes;
    for (const auto& item : m_uploadManifest.item()) {
        if (!item.has_filename()) {
            continue;
        }
        filesToTar += " " + item.filename() + ".gz";
        // A full disk: the command ran, but what it printed could not be stored or compressed.
        if (!SystemUtils::Exists(kPersistenceDirectory + item.filename() + ".gz")) {
            LogLine(s_log, LOG_LEVEL_WARNING, __func__, "Missing from the archive: ", item.filename(),
                    ".gz, of the item with subType: ", item.subtype());
        }
        // Two items whose output names are alike, collected within a second.
        std::string& subType = subTypes.try_emplace(item.filename(), item.subtype()).first->second;
        if (subType != item.subtype()) {
            LogLine(s_log, LOG_LEVEL_WARNING, __func__, "Missing from the archive: the item with subType: ", subType,
                    ", overwritten by the item with subType: ", item.subtype());
            subType = item.subtype();
        }
    }
    LogProgress(s_log, __func__, "filesToTar: ", filesToTar);
    m_harvester->CreateUploadTarball(filesToTar, &m_createUploadTarballResponseCB);
}

void DFTriggerHandler::RemoveOldDiagnosticFiles()
{
    const LogScope scope(s_log, __func__, "Cleanup");
    const DFSCommonPB::UploadManifest stored = ReadManifestFile(__func__);
    RemoveFilesOf(stored);
    if (stored.item_size() == 0) {
        // The request's manifest could not be stored, on a full disk for one. Its files must not keep the disk full.
        RemoveFilesOf(m_uploadManifest);
    }
    RemoveFile(s_log, __func__, kArchive);
    RemoveFile(s_log, __func__, std::string(kPersistenceDirectory) + kUploadManifestFile);

    m_currentItem = nullptr;
    m_uploadManifest.Clear();
    m_uploadTypes.Clear();

    const auto isTemporary = [](const std::unique_ptr<DFDiagnosticItem>& item) {
        if (item->GetOutputFilename().rfind(kCustomOutputPrefix, 0) != 0) {
            return false;
        }
        LogProgress(s_log, "RemoveOldDiagnosticFiles",
                    "Removing temporary custom file diagnostic item with subType: ", item->GetSubType());
        return true;
    };
    m_diagnosticItems.erase(std::remove_if(m_diagnosticItems.begin(), m_diagnosticItems.end(), isTemporary),
                            m_diagnosticItems.end());
}

void DFTriggerHandler::RemoveFilesOf(const DFSCommonPB::UploadManifest& manifest)
{
    constexpr const char* kOperation = "RemoveOldDiagnosticFiles";
    for (const auto& item : manifest.item()) {
        LogProgress(s_log, kOperation, "-----------------output filename from protobuf: ", item.filename());
        if (item.filename() != FilenameOf(item.filename())) {
            LogLine(s_log, LOG_LEVEL_WARNING, kOperation,
                    "Not a file of the persistence directory, left alone: ", item.filename());
        } else if (!item.filename().empty()) {
            const std::string path = kPersistenceDirectory + item.filename();
            RemoveFile(s_log, kOperation, path);
            RemoveFile(s_log, kOperation, path + ".gz");
        }
    }
}
} // namespace DiagnosticFileSvc
