#pragma once

#include "Jwt.h"
#include "MorvekJWTUtils.pb.h"
#include "TokenTimes.h"
#include "WallClock.h"

#include <cstdint>
#include <string>

namespace JwtUtils
{
/**
 * The product's tokens for the cloud: an access token, and perhaps a refresh token, each with the time that it expires.
 *
 * They are kept in the token file. Two files beside it have its name with another extension, and hold a time in decimal
 * seconds since the epoch: ".timestamp" when the access token expires, ".refresh_token" when the refresh token does.
 *
 * Nothing refreshes the tokens by itself: the owner reads the files again when it needs what they hold then. Failures
 * are results and lines of the log, but for the one that ReadFile throws.
 *
 * Not thread-safe.
 */
class QuillaneTokens
{
public:
    using Message = MorvekJWTUtilsPb::QuillaneTokens;

    /** A token file with more bytes than this is malformed: servers refuse a request whose header is as large. */
    static constexpr std::size_t kMaxTokenFileSize = std::size_t{32} << 10U;

    /** The same for a file of an expiration time, which holds a number. */
    static constexpr std::size_t kMaxSideFileSize = std::size_t{1} << 10U;

    /**
     * Loads the token file and the files beside it. A token that cannot be parsed as a JWT does not fail the load:
     * Validate tells. Without a file of its expiration time a token counts as expiring now; a time of the refresh token
     * that is no number, or in a file too large, counts as 0. When there is no refresh token, its file is written to
     * say so.
     *
     * @return false when the token file cannot be read or is empty: the object then holds what it did before. False
     *         also when the file is too large or not the JSON form of the tokens: the message is then empty, but JWTs
     *         and times are those from before. IsValid tells that they are not the file's.
     * @throws std::invalid_argument, std::out_of_range when the access token's expiration time is not a number, or not
     *         one of a time (see ParseTime), or its file is too large. All else has been loaded, and the object is
     *         valid; the access token counts as having expired at the epoch.
     */
    bool ReadFile(const std::string& path);

    /**
     * Stores the tokens and both times, each file replaced as a whole. The result is that of the token file; a side
     * file that cannot be written is logged only.
     */
    bool WriteFile(const std::string& path) const;

    /**
     * Loads the tokens from their JSON form, as the cloud sends it; the access token expires `expires_in` seconds from
     * now. A refresh token that was there before is kept when the text brings none.
     *
     * @return false when the text is not the JSON form of the tokens: the message is then empty, JWTs and times are
     *         those from before
     */
    bool LoadString(const std::string& json);

    /**
     * Whether the tokens can be used: there is an access token with a lifetime, and it, and the refresh token if there
     * is one, are JWTs of a supported algorithm. Neither signatures nor times are looked at.
     */
    bool Validate();

    /** Whether the last load went well; false before the first. */
    bool IsValid() const noexcept { return m_isValid; }

    /** Seconds until the access token should be refreshed, see RefreshDelay; `now` is the system's clock if not given.
     *  @{ */
    std::uint32_t AccessRefreshDelay() const { return AccessRefreshDelay(WallClock::Now()); }
    std::uint32_t AccessRefreshDelay(TimePoint now) const { return RefreshDelay(m_accessExpirationTime, now); }
    /** @} */

    /** The same for the refresh token; 0 when there is none. @{ */
    std::uint32_t RefreshRefreshDelay() const { return RefreshRefreshDelay(WallClock::Now()); }
    std::uint32_t RefreshRefreshDelay(TimePoint now) const
    {
        return RefreshDelay(m_refreshTokenExpirationTime, ToSeconds(now));
    }
    /** @} */

    /** Copies of what is loaded; the refresh token is empty when there is none. @{ */
    Jwt AccessToken() const { return m_accessToken; }
    Jwt RefreshToken() const { return m_refreshToken; }
    Message Tokens() const { return m_message; }
    /** @} */

private:
    bool Parse(const char* operation, const std::string& json);
    void LoadRefreshTime(const std::string& path);
    void LoadAccessTime(const std::string& path);
    void LogAccessTime(const char* operation) const;

    bool m_isValid = false;
    Message m_message;
    Jwt m_accessToken;
    Jwt m_refreshToken;
    TimePoint m_accessExpirationTime;
    /** Seconds since the epoch. */
    std::int64_t m_refreshTokenExpirationTime = 0;
};

/**
 * The path of a side file of a token file: the token file's with the suffix in place of its extension, or at its end
 * when it has none. A "." in the name of a folder begins no extension.
 */
std::string SideFile(const std::string& tokenFile, const std::string& suffix);
} // namespace JwtUtils
