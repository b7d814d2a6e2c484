#pragma once

#include <string>

#include "OpenSslTypes.h"

/** The bytes in base64, RFC 4648 section 4. */
inline std::string Base64(const std::string& bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(CryptoKey::Bytes(text), CryptoKey::Bytes(bytes), static_cast<int>(bytes.size()));
    return text;
}
