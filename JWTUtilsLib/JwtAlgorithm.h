#pragma once

#include "Key.h"

#include <string>

namespace JwtUtils
{
/** What a token's "alg" asks for (RFC 7518 section 3.1). */
struct Algorithm
{
    const char* name;
    CryptoKey::KeyType keyType;
    CryptoKey::DigestType digestType;
};

/** The algorithm of that name; null when it is not supported. Thread-safe. */
const Algorithm* FindAlgorithm(const std::string& name) noexcept;

/**
 * The bytes that a token's segment stands for: base64url (RFC 4648 section 5), padded or not. Empty when the segment
 * holds a character outside the alphabet or ends within a byte. Thread-safe.
 */
std::string DecodeSegment(std::string segment);
} // namespace JwtUtils
