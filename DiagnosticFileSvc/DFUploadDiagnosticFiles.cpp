#include "DFUploadDiagnosticFiles.h"

#include "DFConstants.h"
#include "DFGuard.h"
#include "DFLog.h"
#include "DFUploadArchive.h"
#include "DFUploadHeaders.h"
#include "DFUploadMetadata.h"
#include "JsonReader.h"
#include "WallClock.h"

#include <optional>
#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);

constexpr char kServiceBase[] = "http://";

// The JSON value that a text spells; nothing when it is not JSON, or too long to be parsed.
std::optional<Json::Value> ParseJson(const std::string& text)
{
    if (text.size() > DFUploadDiagnosticFiles::kMaxJsonSize) {
        LogLine(s_log, LogLevel::Warning, __func__, "The answer is not parsed, it is too long: ", text.size(),
                " bytes");
        return std::nullopt;
    }
    JsonReader::Result read = JsonReader::Read(text);
    if (!read.value) {
        LogLine(s_log, LogLevel::Warning, __func__, "The answer is not JSON: ", read.error);
    }
    return std::move(read.value);
}
} // namespace

DFUploadDiagnosticFiles& DFUploadDiagnosticFiles::GetInstance()
{
    static auto& instance = []() -> DFUploadDiagnosticFiles& {
        std::unique_ptr<DFUploadDiagnosticFiles> made(new DFUploadDiagnosticFiles);
        made->Start();
        return *made.release();
    }();
    return instance;
}

template <auto handler, typename... Args>
void DFUploadDiagnosticFiles::Guarded(Args... args)
{
    GuardStep(
        s_log, __func__, "The upload", [&] { (this->*handler)(args...); },
        [this](const std::exception&) { Answer("Unable to upload", 400); });
}

DFUploadDiagnosticFiles::DFUploadDiagnosticFiles()
    : APTask(kUploadDiagnosticFiles, 0, CTask::NOT_REALTIME, -1),
      m_postMetadataCB(this, this,
                       &DFUploadDiagnosticFiles::Guarded<&DFUploadDiagnosticFiles::PostMetadataCB,
                                                         const DFSCommonPB::UploadTypes&, const std::string&, Result*>),
      m_setDeviceInfoCB(this, this, &DFUploadDiagnosticFiles::SetDeviceInfoCB),
      m_metaDataPostRespCB(
          this, this,
          &DFUploadDiagnosticFiles::Guarded<&DFUploadDiagnosticFiles::MetaDataPostRespCB, const Http::HSMResponse&>),
      m_diagFilePostRespCB(
          this, this,
          &DFUploadDiagnosticFiles::Guarded<&DFUploadDiagnosticFiles::DiagFilePostRespCB, const Http::HSMResponse&>),
      m_directHttp(true, ""),
      m_proxiedHttp(true, kMetadataProxy)
{
    for (Http::CHttpInterface* http : {&m_directHttp, &m_proxiedHttp}) {
        Http::HttpSettings settings = http->Settings();
        settings.bodyBound.bytes = kMaxBodySize;
        http->SetSettings(std::move(settings));
    }
}

void DFUploadDiagnosticFiles::OnEntry()
{
    const LogScope scope(s_log, __func__, "DFUploadDiagnosticFiles::OnEntry");
}

void DFUploadDiagnosticFiles::PostMetadata(DFSCommonPB::UploadTypes items, std::string archivePath, Result* result)
{
    m_postMetadataCB(std::move(items), std::move(archivePath), result);
}

void DFUploadDiagnosticFiles::SetDeviceInfo(DeviceManagerPb::DeviceInfo info)
{
    m_setDeviceInfoCB(std::move(info));
}

void DFUploadDiagnosticFiles::SetDeviceInfoCB(const DeviceManagerPb::DeviceInfo& info)
{
    const LogScope scope(s_log, __func__);
    m_deviceInfo = info;
    LogProgress(s_log, __func__, "deviceName: ", m_deviceInfo.name());
}

void DFUploadDiagnosticFiles::PostMetadataCB(const DFSCommonPB::UploadTypes& items, const std::string& archivePath,
                                             Result* result)
{
    const LogScope scope(s_log, __func__);
    // First of all: the guard answers to it.
    m_upload.result = result;
    m_upload.archivePath = archivePath;
    const ProductIdentity product = LoadMetadata();
    LogProgress(s_log, __func__, "upload_sys_logs marketing product name: ", product.name);
    LogProgress(s_log, __func__, "upload_sys_logs product type: ", product.type);
    LogProgress(s_log, __func__, "upload_sys_logs product id: ", product.id);
    const Http::HeaderMap headers = BuildMetadataPostHeader(m_productTokens);
    std::string payload = BuildMetadataPayload(product, m_deviceInfo.name(), items, WallClock::Seconds());
    const std::string url =
        std::string(kServiceBase) + kDiagnosticsServiceHost + "/senders/" + product.id + "/metadata";
    LogProgress(s_log, __func__, "upload_sys_logs post metadata url: ", url);
    m_proxiedHttp.Post(url, headers, std::move(payload), kMetadataType, m_metaDataPostRespCB, m_upload.operation);
}

void DFUploadDiagnosticFiles::MetaDataPostRespCB(const Http::HSMResponse& response)
{
    const LogScope scope(s_log, __func__);
    m_upload.operation.reset();
    LogProgress(s_log, __func__, "MetaDataPostRespCB, Response:");
    LogProgress(s_log, __func__, "response: ", response.response);
    const std::optional<Json::Value> answer = ParseJson(response.response);
    if (!answer) {
        LogProgress(s_log, __func__, "MetaDataPostRespCB, post failed");
        Answer(response.response, response.status);
        return;
    }
    std::string uploadUrl;
    if (answer->isObject() && (*answer)["uploadUrl"].isString()) {
        uploadUrl = (*answer)["uploadUrl"].asString();
    }
    LogProgress(s_log, __func__, "MetaDataPostRespCB, uploadUrl: ", uploadUrl);
    PostDiagnosticFile(uploadUrl);
}

void DFUploadDiagnosticFiles::PostDiagnosticFile(const std::string& uploadUrl)
{
    const LogScope scope(s_log, __func__);
    const std::optional<std::string> md5 = CalculateMD5Checksum(m_upload.archivePath);
    std::optional<std::string> archive = md5 ? ReadArchive(m_upload.archivePath) : std::nullopt;
    if (!archive) {
        LogLine(s_log, LogLevel::Error, __func__, "The archive cannot be read: ", m_upload.archivePath);
        Answer("Unable to create tarball", 400);
        return;
    }
    m_directHttp.PostBinaryData(uploadUrl, BuildDiagnosticFilePostHeader(m_productTokens, *md5), std::move(*archive),
                                kArchiveType, m_diagFilePostRespCB, m_upload.operation);
}

void DFUploadDiagnosticFiles::DiagFilePostRespCB(const Http::HSMResponse& response)
{
    const LogScope scope(s_log, __func__);
    m_upload.operation.reset();
    LogProgress(s_log, __func__, "DiagFilePostRespCB, Response:");
    LogProgress(s_log, __func__, "response: ", response.response);
    ParseJson(response.response);
    if (response.status == 200) {
        LogProgress(s_log, __func__, "DiagFilePostRespCB, success need to do some work here");
    } else {
        LogProgress(s_log, __func__, "DiagFilePostRespCB, post failed");
    }
    Answer(response.response, response.status);
}

void DFUploadDiagnosticFiles::Answer(const std::string& text, int status)
{
    if (m_upload.result != nullptr) {
        (*m_upload.result)(text, status);
        // Not before: when there is no memory to post the text with, the guard answers.
        m_upload.result = nullptr;
    }
}
} // namespace DiagnosticFileSvc
