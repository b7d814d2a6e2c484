#include "DFUploadFiles.h"

#include "DFConstants.h"
#include "DFDiagnosticItem.h"
#include "DFFiles.h"
#include "DFLog.h"
#include "Filename.h"
#include "ProtoPersistenceFactory.h"
#include "ProtoToMarkup.h"
#include "SystemUtils.h"

#include <map>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kTriggerHandler);

constexpr double kManifestVersion = 1.0;
constexpr char kCleanup[] = "RemoveOldDiagnosticFiles";

// The manifest that the last request, or one that a crash ended, has left. Empty when there is none to be read.
DFSCommonPB::UploadManifest ReadManifestFile()
{
    DFSCommonPB::UploadManifest manifest;
    const std::string text = ReadOwnFile(s_log, kCleanup, std::string(kPersistenceDirectory) + kUploadManifestFile);
    if (text.empty()) {
        LogProgress(s_log, kCleanup, "Could not load the manifest file");
        return manifest;
    }
    try {
        ProtoToMarkup::FromJson(text, manifest);
    } catch (const ProtoToMarkup::MarkupError& error) {
        LogLine(s_log, LogLevel::Error, kCleanup, "The manifest file cannot be read: ", error.what());
        manifest.Clear();
    }
    return manifest;
}

void RemoveFilesOf(const DFSCommonPB::UploadManifest& manifest)
{
    for (const auto& item : manifest.item()) {
        LogProgress(s_log, kCleanup, "-----------------output filename from protobuf: ", item.filename());
        if (item.filename() != Files::FilenameOf(item.filename())) {
            LogLine(s_log, LogLevel::Warning, kCleanup,
                    "Not a file of the persistence directory, left alone: ", item.filename());
        } else if (!item.filename().empty()) {
            const std::string path = kPersistenceDirectory + item.filename();
            RemoveFile(s_log, kCleanup, path);
            RemoveFile(s_log, kCleanup, path + ".gz");
        }
    }
}
} // namespace

void DFUploadFiles::Add(const DFDiagnosticItem& item)
{
    item.AddFileToManifest(m_manifest);
    DFSCommonPB::UploadTypeItem& type = *m_types.add_uploaditems();
    type.set_type(item.GetDiagFileType());
    type.set_subtype(item.GetSubType());
}

void DFUploadFiles::Drop(const DFDiagnosticItem& item)
{
    constexpr const char* kOperation = "DropCurrentItem";
    LogLine(s_log, LogLevel::Warning, kOperation,
            "Missing from the upload: the item with subType: ", item.GetSubType());
    const std::string& harvested = item.GetHarvestedFilename();
    if (harvested.empty()) {
        return;
    }
    // The harvested file name is a full path already, so this names no file and what the item left stays: deliberate.
    const std::string path = kPersistenceDirectory + harvested;
    RemoveFile(s_log, kOperation, path);
    RemoveFile(s_log, kOperation, path + ".gz");
}

void DFUploadFiles::WriteUploadManifest()
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "UploadManifest size: ", m_manifest.item_size());
    m_manifest.set_version(kManifestVersion);
    LogProgress(s_log, __func__, "UploadManifest: ", [this] { return m_manifest.DebugString(); });
    try {
        const auto file = ProtoPersistenceFactory::Create(kUploadManifestFile, kPersistenceSubdirectory);
        LogProgress(s_log, __func__, "Now convert manifest to json");
        file->Store(ProtoToMarkup::ToJson(m_manifest, true, false, false));
    } catch (const ProtoPersistenceIF::ProtoPersistenceException& error) {
        s_log.Log(LogLevel::Error, "%s: DFS UploadManifest store persistence error - %s", __func__, error.what());
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(LogLevel::Error, "%s: DFS UploadManifest markup error - %s", __func__, error.what());
    }
}

std::string DFUploadFiles::FilesToTar() const
{
    constexpr const char* kOperation = "CreateTarballFromManifest";
    std::string filesToTar = kUploadManifestFile;
    std::map<std::string, std::string> subTypes;
    for (const auto& item : m_manifest.item()) {
        if (!item.has_filename()) {
            continue;
        }
        filesToTar += " " + item.filename() + ".gz";
        // A full disk: the command ran, but what it printed could not be stored or compressed.
        if (!SystemUtils::Exists(kPersistenceDirectory + item.filename() + ".gz")) {
            LogLine(s_log, LogLevel::Warning, kOperation, "Missing from the archive: ", item.filename(),
                    ".gz, of the item with subType: ", item.subtype());
        }
        // Two items whose output names are alike, collected within a second.
        std::string& subType = subTypes.try_emplace(item.filename(), item.subtype()).first->second;
        if (subType != item.subtype()) {
            LogLine(s_log, LogLevel::Warning, kOperation, "Missing from the archive: the item with subType: ", subType,
                    ", overwritten by the item with subType: ", item.subtype());
            subType = item.subtype();
        }
    }
    LogProgress(s_log, kOperation, "filesToTar: ", filesToTar);
    return filesToTar;
}

void DFUploadFiles::RemoveAll()
{
    const DFSCommonPB::UploadManifest stored = ReadManifestFile();
    RemoveFilesOf(stored);
    if (stored.item_size() == 0) {
        // The request's manifest could not be stored, on a full disk for one. Its files must not keep the disk full.
        RemoveFilesOf(m_manifest);
    }
    RemoveFile(s_log, kCleanup, kArchive);
    RemoveFile(s_log, kCleanup, std::string(kPersistenceDirectory) + kUploadManifestFile);
    m_manifest.Clear();
    m_types.Clear();
}
} // namespace DiagnosticFileSvc
