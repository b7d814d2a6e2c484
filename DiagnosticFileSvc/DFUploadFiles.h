#pragma once

#include "UploadSysInfo.pb.h"

#include <string>

namespace DiagnosticFileSvc
{
class DFDiagnosticItem;

/**
 * What a request leaves in the persistence directory: the items' files, the manifest that lists them, and the archive.
 *
 * A part of the trigger handler. Runs on the task's thread.
 */
class DFUploadFiles
{
public:
    /** Lists the file of the item's last run. */
    void Add(const DFDiagnosticItem& item);

    /** Logs that the item is missing. What it may have written stays. */
    void Drop(const DFDiagnosticItem& item);

    /** How many items are listed. */
    int Count() const { return m_manifest.item_size(); }

    /** Type and sub-type of each item that is listed. */
    const DFSCommonPB::UploadTypes& Types() const { return m_types; }

    /** Stores the manifest; a failure is logged. Blocks. */
    void WriteUploadManifest();

    /** Names of the files to pack, separated by blanks: the manifest, and each item's compressed file. */
    std::string FilesToTar() const;

    /**
     * Removes the manifest, the archive, and the files that the stored manifest lists, be it one that a crash has left.
     * Lists no item any more. What is not in the persistence directory itself is left alone. Blocks.
     */
    void RemoveAll();

private:
    DFSCommonPB::UploadManifest m_manifest;
    DFSCommonPB::UploadTypes m_types;
};
} // namespace DiagnosticFileSvc
