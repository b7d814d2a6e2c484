// The headers of both posts, and the product's token that they carry.

#include <exception>

#include "DFConstants.h"
#include "DFLog.h"
#include "DFUploadDiagnosticFiles.h"
#include "StringUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);

constexpr char kTokenHeader[] = "x-product-token";
} // namespace

void DFUploadDiagnosticFiles::LoadProductJwt()
{
    LogProgress(s_log, __func__, "LoadProductJwt - START");
    m_accessToken.clear();
    try {
        if (m_productTokens.ReadFile(kTokenFile)) {
            LogProgress(s_log, __func__, "Product Jwt is loaded");
            // What the cloud makes of a token is for the cloud to say: this is for the log.
            m_productTokens.Validate();
        }
    } catch (const std::exception& error) {
        // The upload goes on: a token whose time is not known is a token all the same.
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The time stamp of the product Jwt is not usable: ", error.what());
    }
    if (m_productTokens.IsValid()) {
        m_accessToken = m_productTokens.Tokens().access_token();
    }
    LogProgress(s_log, __func__, "LoadProductJwt - START");
}

void DFUploadDiagnosticFiles::BuildMetadataPostHeader()
{
    const LogScope scope(s_log, __func__);
    LoadProductJwt();
    LogLine(s_log, LOG_LEVEL_DETAIL, __func__, "upload_sys_logs product jwt: ", m_accessToken);
    m_metadataHeaders["Content-Type"] = kJsonType;
    m_metadataHeaders["Connection"] = "keep-alive";
    m_metadataHeaders[kTokenHeader] = m_accessToken;
    LogLine(s_log, LOG_LEVEL_DETAIL, __func__,
            "upload_sys_logs - metadata headers: ", [this] { return StringUtils::ToJson(m_metadataHeaders); });
}

void DFUploadDiagnosticFiles::BuildDiagnosticFilePostHeader()
{
    const LogScope scope(s_log, __func__);
    LoadProductJwt();
    LogLine(s_log, LOG_LEVEL_DETAIL, __func__, "upload_sys_logs product jwt: ", m_accessToken);
    m_archiveHeaders["Content-Type"] = kBinaryType;
    m_archiveHeaders["Content-MD5"] = m_archiveMd5;
    m_archiveHeaders[kTokenHeader] = m_accessToken;
    LogLine(s_log, LOG_LEVEL_DETAIL, __func__, "\n\nupload_sys_logs - BuildDiagnosticFilePostHeader: ", [this] {
        return StringUtils::ToJson(m_archiveHeaders);
    });
}
} // namespace DiagnosticFileSvc
