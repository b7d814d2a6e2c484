#include "DFUploadHeaders.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "StringUtils.h"

#include <exception>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kUploadDiagnosticFiles);

constexpr char kTokenHeader[] = "x-product-token";

std::string LoadProductJwt(JwtUtils::QuillaneTokens& tokens)
{
    LogProgress(s_log, __func__, "LoadProductJwt - START");
    try {
        if (tokens.ReadFile(kTokenFile)) {
            LogProgress(s_log, __func__, "Product Jwt is loaded");
            // For the log only: it is the cloud that judges a token.
            tokens.Validate();
        }
    } catch (const std::exception& error) {
        // The token itself has been loaded before.
        LogLine(s_log, LogLevel::Error, __func__, "The time stamp of the product Jwt is not usable: ", error.what());
    }
    LogProgress(s_log, __func__, "LoadProductJwt - START");
    return tokens.IsValid() ? tokens.Tokens().access_token() : std::string();
}

// The headers, with the token added, and logged.
Http::HeaderMap WithToken(Http::HeaderMap headers, JwtUtils::QuillaneTokens& tokens, const char* operation,
                          const char* words)
{
    const std::string& token = headers[kTokenHeader] = LoadProductJwt(tokens);
    LogLine(s_log, LogLevel::Detail, operation, "upload_sys_logs product jwt: ", token);
    LogLine(s_log, LogLevel::Detail, operation, words, [&headers] { return StringUtils::ToJson(headers); });
    return headers;
}
} // namespace

Http::HeaderMap BuildMetadataPostHeader(JwtUtils::QuillaneTokens& tokens)
{
    const LogScope scope(s_log, __func__);
    return WithToken({{"Content-Type", kMetadataType}, {"Connection", "keep-alive"}}, tokens, __func__,
                     "upload_sys_logs - metadata headers: ");
}

Http::HeaderMap BuildDiagnosticFilePostHeader(JwtUtils::QuillaneTokens& tokens, const std::string& archiveMd5)
{
    const LogScope scope(s_log, __func__);
    return WithToken({{"Content-Type", kArchiveType}, {"Content-MD5", archiveMd5}}, tokens, __func__,
                     "\n\nupload_sys_logs - BuildDiagnosticFilePostHeader: ");
}
} // namespace DiagnosticFileSvc
