#include "DFHarvestSystemInfo.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "DFUploadDiagnosticFiles.h"
#include "UploadSysInfo.pb.h"
#include "posixSpawnUtils.h"

#include <exception>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kHarvestSysInfo);
}

DFHarvestSystemInfo::DFHarvestSystemInfo()
    : APTask("DFHarvestSystemInfo", 0, CTask::NOT_REALTIME, -1),
      m_collectRequestedInfoCB(this, this, &DFHarvestSystemInfo::CollectRequestedInfoCB),
      m_createUploadTarballCB(this, this, &DFHarvestSystemInfo::CreateUploadTarballCB),
      m_collectWifiSiteScanCB(this, this, &DFHarvestSystemInfo::CollectWifiSiteScanCB),
      m_uploadDiagFileRespCB(this, this, &DFHarvestSystemInfo::UploadDiagFileRespCB),
      m_spawner(posixSpawnUtils::GetInstance())
{
    LogProgress(s_log, __func__, "DFHarvestSystemInfo::DFHarvestSystemInfo - START");
}

DFHarvestSystemInfo::~DFHarvestSystemInfo()
{
    Stop();
}

void DFHarvestSystemInfo::OnEntry()
{
    const LogScope scope(s_log, __func__, "DFHarvestSystemInfo::OnEntry");
    m_uploadClient = &DFUploadDiagnosticFiles::GetInstance();
}

void DFHarvestSystemInfo::CollectRequestedInfo(const std::string& command, const std::string& outputPath,
                                               Answer* onDone)
{
    const LogScope scope(s_log, __func__);
    m_collectRequestedInfoCB(command, outputPath, onDone);
}

void DFHarvestSystemInfo::CreateUploadTarball(const std::string& target, AsyncCallback<bool>* onDone)
{
    const LogScope scope(s_log, __func__);
    m_createUploadTarballCB(target, onDone);
}

void DFHarvestSystemInfo::CollectWifiSiteScan(const std::string& command, Answer* onDone)
{
    const LogScope scope(s_log, __func__);
    m_collectWifiSiteScanCB(command, onDone);
}

void DFHarvestSystemInfo::CollectRequestedInfoCB(const std::string& command, const std::string& outputPath,
                                                 Answer* onDone)
{
    const LogScope scope(s_log, __func__);
    m_pendingAnswer = onDone;
    if (!IsCollected(__func__, command, outputPath)) {
        LogProgress(s_log, __func__, "Collection of system info failed - Send dummy response");
        (*m_pendingAnswer)("Development success message", 400);
        return;
    }
    LogProgress(s_log, __func__, "Collection of system was successful - upload the result");
    (*m_pendingAnswer)("Success message", 200);
}

bool DFHarvestSystemInfo::IsCollected(const char* operation, const std::string& command,
                                      const std::string& outputPath) const
{
    try {
        return m_spawner.CollectEncryptLogs(outputPath, command) == 0;
    } catch (const std::exception& error) {
        LogLine(s_log, LogLevel::Error, operation, "The collection ends with an exception: ", error.what());
        return false;
    }
}

void DFHarvestSystemInfo::CollectWifiSiteScanCB(const std::string& command, Answer* onDone)
{
    const LogScope scope(s_log, __func__);
    m_pendingAnswer = onDone;
    if (!IsCollected(__func__, command, kSiteScanOutput)) {
        LogProgress(s_log, __func__, "Collection of network scan failed - Send dummy response");
        (*m_pendingAnswer)("Development failure message", 400);
        return;
    }
    LogProgress(s_log, __func__, "Collection of system was successful - upload the result");
    DFSCommonPB::UploadTypes types;
    DFSCommonPB::UploadTypeItem& item = *types.add_uploaditems();
    item.set_type(DFSCommonPB::WIFI_SITE_SCAN);
    item.set_subtype("wifi site scan");
    if (m_uploadClient == nullptr) {
        LogLine(s_log, LogLevel::Error, __func__, kNoUploadClientAnswer);
        (*m_pendingAnswer)("Development failure message", 400);
        return;
    }
    m_uploadClient->PostMetadata(types, kSiteScanCompressedOutput, &m_uploadDiagFileRespCB);
}

void DFHarvestSystemInfo::UploadDiagFileRespCB(const std::string& text, int statusCode)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "Sending response to the diag file upload request");
    (*m_pendingAnswer)(text, statusCode);
}

void DFHarvestSystemInfo::CreateUploadTarballCB(const std::string& target, AsyncCallback<bool>* onDone)
{
    const LogScope scope(s_log, __func__);
    m_pendingArchiveAnswer = onDone;
    try {
        m_spawner.TarDiagnosticFiles(target);
    } catch (const std::exception& error) {
        LogLine(s_log, LogLevel::Error, __func__, "Packing the archive ends with an exception: ", error.what());
    }
    (*m_pendingArchiveAnswer)(true);
}
} // namespace DiagnosticFileSvc
