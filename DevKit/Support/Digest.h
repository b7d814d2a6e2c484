#pragma once

#include "OpenSslTypes.h"

#include <string>
#include <string_view>

/** Computes a message digest piece by piece. Not thread-safe. */
class Digest
{
public:
    /** @param kind such as EVP_md5() @throws std::runtime_error when OpenSSL does not offer it */
    explicit Digest(const EVP_MD* kind);

    void Update(std::string_view bytes);

    /** The digest of everything so far, in lower-case hexadecimal digits. May be called once. */
    std::string Finish();

private:
    OpenSsl::EvpMdCtxPtr m_context;
};
