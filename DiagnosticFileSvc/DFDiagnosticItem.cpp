#include "DFDiagnosticItem.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "Filename.h"
#include "StringUtils.h"
#include "UploadSysInfo.pb.h"
#include "WallClock.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log("DFDiagnosticItem");

std::string OutputOf(const DFSCommonPB::diagItemRegistration& registration)
{
    if (registration.has_outputfilename()) {
        return registration.outputfilename();
    }
    return std::string(kPersistenceDirectory) + kOutputPrefix +
           StringUtils::FindReplace(registration.subtype(), " ", "_");
}
} // namespace

DFDiagnosticItem::DFDiagnosticItem(std::string input, std::string outputFilename,
                                   DFSCommonPB::DiagFileType diagFileType, std::string subType,
                                   DFSCommonPB::HarvestType harvestType)
    : m_input(std::move(input)),
      m_outputFilename(std::move(outputFilename)),
      m_diagFileType(diagFileType),
      m_subType(std::move(subType)),
      m_harvestType(harvestType)
{}

DFDiagnosticItem::DFDiagnosticItem(const DFSCommonPB::diagItemRegistration& registration)
    : DFDiagnosticItem(registration.input(), OutputOf(registration), registration.filetype(), registration.subtype(),
                       registration.harvesttype())
{}

void DFDiagnosticItem::ProcessDiagnosticItem()
{
    LogLine(s_log, LogLevel::Error, __func__, "BASE CLASS NOT IMPLEMENTED!!!");
}

void DFDiagnosticItem::ProcessGXResponse(const std::string& /*response*/)
{
    LogLine(s_log, LogLevel::Error, __func__, "BASE CLASS NOT IMPLEMENTED!!!");
}

std::string DFDiagnosticItem::AddDateTimeToFilename(const std::string& outputFilename)
{
    return AddDateTimeToFilename(outputFilename, WallClock::Seconds());
}

std::string DFDiagnosticItem::AddDateTimeToFilename(const std::string& outputFilename, std::int64_t now)
{
    std::string name = Files::FilenameOf(outputFilename);
    if (name.empty()) {
        LogLine(s_log, LogLevel::Error, __func__, "Could not extract the filename from the filepath");
        return {};
    }
    const std::string stamp = WallClock::Text("_%Y%m%d%H%M%S", now);
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot != 0;
    name.insert(hasExtension ? dot : name.size(), stamp);
    return kPersistenceDirectory + name;
}

void DFDiagnosticItem::AddFileToManifest(DFSCommonPB::UploadManifest& manifest) const
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::ManifestItem& entry = *manifest.add_item();
    const std::string filename = Files::FilenameOf(m_harvestedFilename);
    if (filename.empty()) {
        LogLine(s_log, LogLevel::Error, __func__, "AddFileToManifest - Invalid filepath");
        return;
    }
    entry.set_filename(filename);
    entry.set_type(m_diagFileType);
    entry.set_subtype(m_subType);
}

const std::string& DFDiagnosticItem::BeginHarvestedFile()
{
    m_harvestedFilename = AddDateTimeToFilename(m_outputFilename);
    return m_harvestedFilename;
}
} // namespace DiagnosticFileSvc
