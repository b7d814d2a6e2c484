#include "DFUploadDiagnosticFiles.h"

#include <json/json.h>
#include <openssl/md5.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <memory>
#include <optional>
#include <utility>

#include "DFConstants.h"
#include "DFLog.h"
#include "MfgData.h"
#include "NameValueFile.h"
#include "ProtoToMarkup.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);

constexpr char kServiceBase[] = "http://";

struct FileCloser
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/** The file open for reading, not inherited by children; null when it cannot be opened. */
File OpenForReading(const std::string& path)
{
    return File(std::fopen(path.c_str(), "rbe"));
}

/** The file's content in one piece; nothing when it cannot be read whole. */
std::optional<std::string> ReadArchive(const std::string& path)
{
    const File file = OpenForReading(path);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const long size = std::ftell(file.get());
    if (size < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) {
        return std::nullopt;
    }
    LogProgress(s_log, "PostDiagnosticFile", "compressed file size:", size);
    std::string bytes(static_cast<std::size_t>(size), '\0');
    if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
        return std::nullopt;
    }
    return bytes;
}

/** The JSON value that a text spells; nothing when it is not JSON, or too long to be parsed. */
std::optional<Json::Value> ParseJson(const std::string& text)
{
    if (text.size() > DFUploadDiagnosticFiles::kMaxJsonSize) {
        LogLine(s_log, LOG_LEVEL_WARNING, __func__, "The answer is not parsed, it is too long: ", text.size(),
                " bytes");
        return std::nullopt;
    }
    Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
            return value;
        }
    } catch (const Json::Exception& error) {
        // The parser's way of refusing a text that nests too deep.
        errors = error.what();
    }
    LogLine(s_log, LOG_LEVEL_WARNING, __func__, "The answer is not JSON: ", errors);
    return std::nullopt;
}

/** The manufacturing data of that name. Without it the product has no identity, and the service cannot go on. */
std::string ProductIdentity(const char* name, const char* missing)
{
    const auto value = MfgData::Get(name);
    if (!value) {
        LogLine(s_log, LOG_LEVEL_ERROR, "LoadMetadata", "LoadMetadata", missing);
        // Without running static destructors under the feet of the other tasks.
        _exit(1);
    }
    return *value;
}

std::string SoftwareVersion()
{
    const NameValueFile version(kVersionFile);
    return version.Get("short", "1.0.67") + "-" + version.Get("build_number", kFallbackIdentifier) + "+" +
           version.Get("abbrev_commit", kFallbackVersion);
}

std::string UtcTimeStamp()
{
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    gmtime_r(&now, &utc);
    char text[30];
    std::strftime(text, sizeof text, "%FT%TZ", &utc);
    return text;
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
    try {
        (this->*handler)(args...);
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The upload ends with an exception: ", error.what());
        Answer("Unable to upload", 400);
    }
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
    m_result = result;
    m_archivePath = archivePath;
    LoadMetadata();
    LogProgress(s_log, __func__, "upload_sys_logs marketing product name: ", m_productName);
    LogProgress(s_log, __func__, "upload_sys_logs product type: ", m_productType);
    LogProgress(s_log, __func__, "upload_sys_logs product id: ", m_productId);
    BuildMetadataPostHeader();
    BuildMetadataPayload(items);
    const std::string url =
        std::string(kServiceBase) + kDiagnosticsServiceHost + "/senders/" + m_productId + "/metadata";
    LogProgress(s_log, __func__, "upload_sys_logs post metadata url: ", url);
    m_proxiedHttp.Post(url, m_metadataHeaders, m_metadataPayload, kJsonType, m_metaDataPostRespCB, m_operation);
}

void DFUploadDiagnosticFiles::LoadMetadata()
{
    const LogScope scope(s_log, __func__);
    m_productName = ProductIdentity("productName", " Fatal Error: No Product Name ");
    m_productType = ProductIdentity("productType", " Fatal Error: No Product Type ");
    m_productId = ProductIdentity("guid", " Fatal Error: No Product Id ");
}

void DFUploadDiagnosticFiles::BuildMetadataPayload(const DFSCommonPB::UploadTypes& items)
{
    const LogScope scope(s_log, __func__);
    const std::string softwareVersion = SoftwareVersion();
    LogProgress(s_log, __func__, "upload_sys_logs software version: ", softwareVersion);

    DFSCommonPB::MetadataPayload payload;
    payload.set_productname(m_deviceInfo.name());
    payload.set_productid(m_productId);
    payload.set_producttype(m_productType);
    payload.set_softwareversion(softwareVersion);
    payload.set_filetype(kDiagnosticLabel);
    payload.set_uploadtimestamp(UtcTimeStamp());
    *payload.mutable_uploadeditems() = items.uploaditems();

    // The body is the inner object of {"MetadataPayload":{...}}.
    static const std::string prefix = "{\"MetadataPayload\":";
    m_metadataPayload = ProtoToMarkup::ToJson(payload, true, false, false);
    const std::size_t start = m_metadataPayload.find(prefix);
    if (start != std::string::npos) {
        m_metadataPayload.erase(start, prefix.size());
        m_metadataPayload.pop_back();
    }
    LogProgress(s_log, __func__, "payload: ", m_metadataPayload);
}

void DFUploadDiagnosticFiles::MetaDataPostRespCB(const Http::HSMResponse& response)
{
    const LogScope scope(s_log, __func__);
    m_operation.reset();
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
    std::optional<std::string> archive;
    if (CalculateMD5Checksum(m_archivePath)) {
        archive = ReadArchive(m_archivePath);
    }
    if (!archive) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The archive cannot be read: ", m_archivePath);
        Answer("Unable to create tarball", 400);
        return;
    }
    BuildDiagnosticFilePostHeader();
    m_directHttp.PostBinaryData(uploadUrl, m_archiveHeaders, std::move(*archive), kBinaryType, m_diagFilePostRespCB,
                                m_operation);
}

bool DFUploadDiagnosticFiles::CalculateMD5Checksum(const std::string& path)
{
    const LogScope scope(s_log, __func__);
    const File file = OpenForReading(path);
    if (!file) {
        return false;
    }
    MD5_CTX context;
    MD5_Init(&context);
    std::array<unsigned char, 1024> chunk;
    std::size_t length = 0;
    while ((length = std::fread(chunk.data(), 1, chunk.size(), file.get())) > 0) {
        MD5_Update(&context, chunk.data(), length);
    }
    std::array<unsigned char, MD5_DIGEST_LENGTH> digest;
    MD5_Final(digest.data(), &context);

    m_archiveMd5.clear();
    for (const unsigned char byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(byte));
        m_archiveMd5 += digits;
    }
    LogProgress(s_log, __func__, "upload_sys_logs - CalculateMD5Checksum, result: ", m_archiveMd5);
    return std::ferror(file.get()) == 0;
}

void DFUploadDiagnosticFiles::DiagFilePostRespCB(const Http::HSMResponse& response)
{
    const LogScope scope(s_log, __func__);
    // The operation holds the connection.
    m_operation.reset();
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
    if (m_result != nullptr) {
        (*m_result)(text, status);
        // Not before: when there is no memory to post the text with, the guard answers.
        m_result = nullptr;
    }
}
} // namespace DiagnosticFileSvc
