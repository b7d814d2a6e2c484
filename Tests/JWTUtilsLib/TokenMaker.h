#pragma once

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <string>

#include "Base64Encoder.h"
#include "OpenSslTypes.h"
#include "PublicKey.h"

using EvpPkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, CryptoKey::OpenSslDeleter<EVP_PKEY_CTX_free>>;

/** A new RSA key of 2048 bits; it can sign as well. */
inline CryptoKey::PublicKey MakeRsaKey()
{
    const EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr));
    EVP_PKEY* pkey = nullptr;
    EXPECT_EQ(EVP_PKEY_keygen_init(context.get()), 1);
    EXPECT_EQ(EVP_PKEY_keygen(context.get(), &pkey), 1);
    CryptoKey::PublicKey key;
    key.SetKey(pkey);
    return key;
}

/** A new EC key on that curve, which its PEM form gives by name or by its parameters; it can sign as well. */
inline CryptoKey::PublicKey MakeEcKey(int curve, int encoding = OPENSSL_EC_NAMED_CURVE)
{
    const EvpPkeyCtxPtr context(EVP_PKEY_CTX_new_id(EVP_PKEY_EC, nullptr));
    EVP_PKEY* pkey = nullptr;
    EXPECT_EQ(EVP_PKEY_keygen_init(context.get()), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), curve), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_ec_param_enc(context.get(), encoding), 1);
    EXPECT_EQ(EVP_PKEY_keygen(context.get(), &pkey), 1);
    CryptoKey::PublicKey key;
    key.SetKey(pkey);
    return key;
}

/** The key's own signature: in DER form, of an EC key. */
inline std::string Sign(const CryptoKey::Key& key, CryptoKey::DigestType digest, const std::string& message)
{
    const CryptoKey::EvpMdCtxPtr context(EVP_MD_CTX_new());
    std::string signature(1024, '\0');
    std::size_t size = signature.size();
    EXPECT_EQ(EVP_DigestSignInit(context.get(), nullptr, key.GetMessageDigest(digest), nullptr, key.GetKey()), 1);
    EXPECT_EQ(
        EVP_DigestSign(context.get(), CryptoKey::Bytes(signature), &size, CryptoKey::Bytes(message), message.size()),
        1);
    signature.resize(size);
    return signature;
}

/** An ECDSA signature as tokens have it: r and s of `half` bytes each. */
inline std::string JoinedSignature(const std::string& der, int half)
{
    const unsigned char* next = CryptoKey::Bytes(der);
    const CryptoKey::EcdsaSigPtr pair(d2i_ECDSA_SIG(nullptr, &next, static_cast<long>(der.size())));
    std::string joined(2 * static_cast<std::size_t>(half), '\0');
    EXPECT_EQ(BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), CryptoKey::Bytes(joined), half), half);
    EXPECT_EQ(BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), CryptoKey::Bytes(joined) + half, half), half);
    return joined;
}

/** A segment of a token, unpadded. */
inline std::string Segment(const std::string& bytes)
{
    std::string text = Base64Encoder::Encode(bytes);
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text.substr(0, text.find('='));
}

/** A token of that "alg" and those claims, signed by the key. */
inline std::string MakeToken(const std::string& alg, const std::string& claims, const CryptoKey::Key& key,
                             CryptoKey::DigestType digest, int half = 0)
{
    const std::string input = Segment("{\"alg\":\"" + alg + "\"}") + '.' + Segment(claims);
    const std::string signature = Sign(key, digest, input);
    return input + '.' + Segment(half == 0 ? signature : JoinedSignature(signature, half));
}
