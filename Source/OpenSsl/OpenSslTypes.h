#pragma once

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>

#include <memory>
#include <string>

namespace OpenSsl
{
/** Frees what OpenSSL has allocated, by the function that goes with it. */
template <auto Free>
struct Deleter
{
    template <typename T>
    void operator()(T* object) const
    {
        Free(object);
    }
};

/** Owners of OpenSSL's objects. @{ */
using BioPtr = std::unique_ptr<BIO, Deleter<BIO_free>>;
using BignumPtr = std::unique_ptr<BIGNUM, Deleter<BN_clear_free>>;
using EcdsaSigPtr = std::unique_ptr<ECDSA_SIG, Deleter<ECDSA_SIG_free>>;
using EvpMdCtxPtr = std::unique_ptr<EVP_MD_CTX, Deleter<EVP_MD_CTX_free>>;
/** @} */

/** The bytes of a text, as OpenSSL takes them. @{ */
inline const unsigned char* Bytes(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

inline unsigned char* Bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}
/** @} */
} // namespace OpenSsl
