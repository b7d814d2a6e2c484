#pragma once

#include "OpenSslTypes.h"

#include <string>

namespace OpenSsl
{
/** The bytes in base64, RFC 4648 section 4; at most 1 GiB of them. Thread-safe. */
inline std::string Base64(const std::string& bytes)
{
    // Groups of three become groups of four; a NUL follows, in the place of the string's own.
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(Bytes(text), Bytes(bytes), static_cast<int>(bytes.size()));
    return text;
}
} // namespace OpenSsl
