#pragma once

#include "DiagFileTypes.pb.h"

#include <cstdint>
#include <string>

namespace DFSCommonPB
{
class UploadManifest;
class diagItemRegistration;
} // namespace DFSCommonPB

namespace DiagnosticFileSvc
{
/**
 * One thing that an upload can collect. The kinds derive from it; an object of the class itself is plain data on its
 * way to the registry.
 *
 * A part of the trigger handler, which runs one item at a time. Runs on the task's thread.
 */
class DFDiagnosticItem
{
public:
    /**
     * @param input          command line, source file or gateway endpoint, as the harvest type says
     * @param outputFilename the configured output: a full path, or a bare name for a custom upload
     * @param subType        the item's unique key in the registry
     */
    DFDiagnosticItem(std::string input, std::string outputFilename, DFSCommonPB::DiagFileType diagFileType,
                     std::string subType, DFSCommonPB::HarvestType harvestType);

    /** Without an outputFilename in the registration, the output is named after the sub-type. */
    explicit DFDiagnosticItem(const DFSCommonPB::diagItemRegistration& registration);

    virtual ~DFDiagnosticItem() = default;
    DFDiagnosticItem(const DFDiagnosticItem&) = default;
    DFDiagnosticItem& operator=(const DFDiagnosticItem&) = default;
    DFDiagnosticItem(DFDiagnosticItem&&) = default;
    DFDiagnosticItem& operator=(DFDiagnosticItem&&) = default;

    /** Starts one harvest and returns; the outcome comes through the completion callback that the kind was given. */
    virtual void ProcessDiagnosticItem();

    /** Goes on with a harvest that had to ask another service: response is that service's answer. */
    virtual void ProcessGXResponse(const std::string& response);

    /**
     * The path that a run now produces: in the persistence directory, the path's file name with the time, UTC, before
     * its extension, such as dfs_logread_20240131235959.txt. Empty when the path names no file.
     */
    static std::string AddDateTimeToFilename(const std::string& outputFilename);

    /** The same for a given time, in seconds since the epoch. */
    static std::string AddDateTimeToFilename(const std::string& outputFilename, std::int64_t now);

    /** Adds an entry for the file of the last run; one without a file name when there is none. */
    void AddFileToManifest(DFSCommonPB::UploadManifest& manifest) const;

    const std::string& GetInput() const { return m_input; }
    const std::string& GetOutputFilename() const { return m_outputFilename; }
    /** Full path of the file that the last run produced, or was to produce. */
    const std::string& GetHarvestedFilename() const { return m_harvestedFilename; }
    DFSCommonPB::DiagFileType GetDiagFileType() const { return m_diagFileType; }
    const std::string& GetSubType() const { return m_subType; }
    DFSCommonPB::HarvestType GetHarvestType() const { return m_harvestType; }

    void SetDiagFileType(DFSCommonPB::DiagFileType diagFileType) { m_diagFileType = diagFileType; }
    void SetHarvestType(DFSCommonPB::HarvestType harvestType) { m_harvestType = harvestType; }

protected:
    /** Names the file that the run which starts now produces, and remembers it. */
    const std::string& BeginHarvestedFile();

private:
    std::string m_input;
    std::string m_outputFilename;
    std::string m_harvestedFilename;
    DFSCommonPB::DiagFileType m_diagFileType;
    std::string m_subType;
    DFSCommonPB::HarvestType m_harvestType;
};
} // namespace DiagnosticFileSvc
