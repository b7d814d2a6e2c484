#pragma once

namespace JwtUtils
{
/** What is wrong with a token, or with its signature. */
enum class JwtError
{
    NO_ERROR = 0,
    JWT_FORMAT_ERROR = 1,              ///< There are no three segments.
    JSON_PARSE_ERROR = 2,              ///< Header or claims are no JSON object, or one without a value.
    INVALID_SIGNATURE = 3,             ///< The signature segment holds no bytes.
    INVALID_SIGNATURE_ALGORITHM = 4,   ///< The header's "alg" is not supported.
    SIGNATURE_NOT_VERIFIED = 5,        ///< Times were asked for before the signature was verified.
    SIGNATURE_VERIFICATION_FAILED = 6, ///< The signature is not that key's signature of this token.
    SIGNATURE_INVALID_KEY = 7,         ///< The key is empty.
    SIGNATURE_KEY_MISMATCH = 8,        ///< The key is of another type than the algorithm asks for.
    SIGNATURE_SIZE_MISMATCH = 9,       ///< An ECDSA signature is not of the key's size.
    OPENSSL_ERROR = 10,
    JWT_PAST_EXPIRATION = 11,
    JWT_BEFORE_NBF = 12,
};

/** The name of the code, as above; "(unknown)" for a number that is none. Thread-safe. */
const char* ToText(JwtError error) noexcept;
} // namespace JwtUtils
