#include "QuillaneTokens.h"

#include "DPrint.h"
#include "FileHelpers.h"
#include "Filename.h"
#include "ProtoToMarkup.h"
#include "WallClock.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace JwtUtils
{
namespace
{
const DPrint s_log("JwtUtils::QuillaneTokens");

constexpr char kMessageName[] = "QuillaneTokens";
constexpr char kTimeStampSuffix[] = ".timestamp";
constexpr char kRefreshTimeSuffix[] = ".refresh_token";
constexpr char kNoRefreshToken[] = "MISSING REFRESH TOKEN";
} // namespace

std::string SideFile(const std::string& tokenFile, const std::string& suffix)
{
    const bool hasExtension = Files::FilenameOf(tokenFile).find('.') != std::string::npos;
    return (hasExtension ? tokenFile.substr(0, tokenFile.rfind('.')) : tokenFile) + suffix;
}

bool QuillaneTokens::ReadFile(const std::string& path)
{
    s_log.Log(3, "%s: %s", __func__, path.c_str());
    m_isValid = false;
    const std::string text = ReadFileStr(path, kMaxTokenFileSize);
    if (text.empty()) {
        return false;
    }
    if (text.size() > kMaxTokenFileSize) {
        // Its reader has logged that it is too large.
        m_message.Clear();
        return false;
    }
    if (!Parse(__func__, text)) {
        s_log.Log(1, "%s: %s", __func__, text.c_str());
        return false;
    }
    m_isValid = true;
    m_accessToken = Jwt(m_message.access_token());
    if (m_message.has_refresh_token()) {
        m_refreshToken = Jwt(m_message.refresh_token());
        LoadRefreshTime(path);
    } else {
        m_refreshToken = Jwt();
        m_refreshTokenExpirationTime = 0;
        WriteFileStr(SideFile(path, kRefreshTimeSuffix), kNoRefreshToken);
        s_log.Log(2, "%s: Refresh token not found, setting refresh m_refreshTokenExpirationTime to 0", __func__);
    }
    LoadAccessTime(path);
    return m_isValid;
}

bool QuillaneTokens::Parse(const char* operation, const std::string& json)
{
    m_message.Clear();
    try {
        ProtoToMarkup::FromJson(json, m_message, kMessageName);
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(1, "%s: MarkupError: %s", operation, error.what());
        return false;
    }
    return true;
}

void QuillaneTokens::LoadRefreshTime(const std::string& path)
{
    constexpr char kOperation[] = "ReadFile";
    const std::string text = ReadFileStr(SideFile(path, kRefreshTimeSuffix), kMaxSideFileSize);
    if (text.size() > kMaxSideFileSize) {
        m_refreshTokenExpirationTime = 0;
        return;
    }
    if (text.empty()) {
        m_refreshTokenExpirationTime = WallClock::Seconds();
        s_log.Log(1, "%s: Refresh timestamp file not found. Assuming expiration time is now (%s).", kOperation,
                  DateText(m_refreshTokenExpirationTime).c_str());
        return;
    }
    try {
        m_refreshTokenExpirationTime = ParseSeconds(text);
        s_log.Log(4, "%s: Refresh token time stamp is %s and (refresh in %u seconds)", kOperation, text.c_str(),
                  RefreshRefreshDelay());
    } catch (const std::exception& error) {
        s_log.Log(1, "Refresh timestamp file (%s) is not valid, error: (%s)", text.c_str(), error.what());
        m_refreshTokenExpirationTime = 0;
    }
}

void QuillaneTokens::LoadAccessTime(const std::string& path)
{
    constexpr char kOperation[] = "ReadFile";
    // Until it is known: not the time of the tokens that were here before.
    m_accessExpirationTime = {};
    const std::string text = ReadFileStr(SideFile(path, kTimeStampSuffix), kMaxSideFileSize);
    if (text.size() > kMaxSideFileSize) {
        throw std::invalid_argument("the file is too large");
    }
    if (text.empty()) {
        const std::int64_t now = WallClock::Seconds();
        m_accessExpirationTime = FromSeconds(now);
        if (s_log.IsLog(4)) {
            s_log.Log(4, "%s: Timestamp file not found. Assuming expiration time is now (%s).", kOperation,
                      DateText(now).c_str());
        }
        return;
    }
    m_accessExpirationTime = ParseTime(text);
    LogAccessTime(kOperation);
}

void QuillaneTokens::LogAccessTime(const char* operation) const
{
    if (s_log.IsLog(4)) {
        s_log.Log(4, "%s: Authentication will expire at %s (refresh in %u seconds)", operation,
                  DateText(ToSeconds(m_accessExpirationTime)).c_str(), AccessRefreshDelay());
    }
}

bool QuillaneTokens::LoadString(const std::string& json)
{
    s_log.Log(4, "%s", __func__);
    m_isValid = false;
    std::string previousRefreshToken = m_message.refresh_token();
    if (!Parse(__func__, json)) {
        return false;
    }
    if (!m_message.has_refresh_token() && !previousRefreshToken.empty()) {
        m_message.set_refresh_token(std::move(previousRefreshToken));
    }
    m_isValid = true;
    m_accessToken = Jwt(m_message.access_token());
    m_refreshToken = m_message.has_refresh_token() ? Jwt(m_message.refresh_token()) : Jwt();
    m_accessExpirationTime = Later(FromSeconds(WallClock::Seconds()), m_message.expires_in());
    LogAccessTime(__func__);
    return m_isValid;
}

bool QuillaneTokens::WriteFile(const std::string& path) const
{
    s_log.Log(3, "%s: %s", __func__, path.c_str());
    std::string json;
    try {
        json = ProtoToMarkup::ToJson(m_message, false, false, false);
    } catch (const ProtoToMarkup::MarkupError& error) {
        s_log.Log(1, "%s: MarkupError: %s", __func__, error.what());
        return false;
    }
    if (json.empty() || !WriteFileStr(path, json)) {
        return false;
    }
    WriteFileStr(SideFile(path, kTimeStampSuffix), std::to_string(ToSeconds(m_accessExpirationTime)));
    WriteFileStr(SideFile(path, kRefreshTimeSuffix), std::to_string(m_refreshTokenExpirationTime));
    return true;
}

bool QuillaneTokens::Validate()
{
    s_log.Log(4, "%s", __func__);
    if (m_message.access_token().empty() || m_message.expires_in() == 0 ||
        m_accessToken.Validate() != JwtError::NO_ERROR) {
        return false;
    }
    return !m_message.has_refresh_token() || m_refreshToken.Validate() == JwtError::NO_ERROR;
}
} // namespace JwtUtils
