#pragma once

#include "JwtError.h"
#include "PublicKey.h"

#include <string>

/** Whether a token was signed by the owner of a key. The lines that are logged are the token's. Thread-safe. */
namespace JwtUtils
{
/**
 * Checks a signature (RFC 7515 section 5.2, step 8).
 *
 * @param name    the algorithm, as the token's "alg" has it
 * @param input   what is signed: the token's first two segments, with the "." between them
 * @param segment the token's third segment
 */
JwtError CheckSignature(const std::string& name, const std::string& input, const std::string& segment,
                        const CryptoKey::PublicKey& key);

/** See Jwt::ConvertSignature. */
std::string ConvertSignature(const CryptoKey::PublicKey& key, const std::string& signature, JwtError& error);
} // namespace JwtUtils
