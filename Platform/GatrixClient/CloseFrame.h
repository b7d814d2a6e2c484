#pragma once

#include <cstdint>
#include <string>

namespace Gatrix
{
/** Why a side closes a connection (RFC 6455, section 7.4.1, and the IANA registry it opened). */
enum class CloseCode : std::uint16_t
{
    Normal = 1000,
    GoingAway = 1001,
    UnsupportedData = 1003,
    PolicyViolation = 1008,
    InternalError = 1011,
    TryAgainLater = 1013,
};

/**
 * The bytes of a close frame (RFC 6455, sections 5.2, 5.3 and 5.5.1).
 *
 * @param reason   cut to what the frame holds, 123 bytes
 * @param isMasked as those of clients are
 *
 * Thread-safe.
 */
std::string CloseFrame(CloseCode code, const std::string& reason, bool isMasked);
} // namespace Gatrix
