#include "JwtError.h"

namespace JwtUtils
{
const char* ToText(JwtError error) noexcept
{
    // Without a default, so that the compiler asks for the name of a new code.
    switch (error) {
        case JwtError::NO_ERROR:
            return "NO_ERROR";
        case JwtError::JWT_FORMAT_ERROR:
            return "JWT_FORMAT_ERROR";
        case JwtError::JSON_PARSE_ERROR:
            return "JSON_PARSE_ERROR";
        case JwtError::INVALID_SIGNATURE:
            return "INVALID_SIGNATURE";
        case JwtError::INVALID_SIGNATURE_ALGORITHM:
            return "INVALID_SIGNATURE_ALGORITHM";
        case JwtError::SIGNATURE_NOT_VERIFIED:
            return "SIGNATURE_NOT_VERIFIED";
        case JwtError::SIGNATURE_VERIFICATION_FAILED:
            return "SIGNATURE_VERIFICATION_FAILED";
        case JwtError::SIGNATURE_INVALID_KEY:
            return "SIGNATURE_INVALID_KEY";
        case JwtError::SIGNATURE_KEY_MISMATCH:
            return "SIGNATURE_KEY_MISMATCH";
        case JwtError::SIGNATURE_SIZE_MISMATCH:
            return "SIGNATURE_SIZE_MISMATCH";
        case JwtError::OPENSSL_ERROR:
            return "OPENSSL_ERROR";
        case JwtError::JWT_PAST_EXPIRATION:
            return "JWT_PAST_EXPIRATION";
        case JwtError::JWT_BEFORE_NBF:
            return "JWT_BEFORE_NBF";
    }
    return "(unknown)";
}
} // namespace JwtUtils
