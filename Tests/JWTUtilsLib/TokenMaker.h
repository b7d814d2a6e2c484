#pragma once

#include "Base64.h"
#include "OpenSslTypes.h"
#include "PublicKey.h"

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/rsa.h>

#include <algorithm>

/** A new RSA key or, with a curve, an EC key. Its PEM form names the curve, or gives its parameters. RSA keys have 1024
 * bits, enough for every digest: larger ones take very long to make under valgrind. */
inline CryptoKey::PublicKey MakeKey(int curve = NID_undef, int encoding = OPENSSL_EC_NAMED_CURVE)
{
    const std::unique_ptr<EVP_PKEY_CTX, OpenSsl::Deleter<EVP_PKEY_CTX_free>> context(
        EVP_PKEY_CTX_new_id(curve == NID_undef ? EVP_PKEY_RSA : EVP_PKEY_EC, nullptr));
    EVP_PKEY* pkey = nullptr;
    EXPECT_TRUE(EVP_PKEY_keygen_init(context.get()) == 1 &&
                (curve == NID_undef ? EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), 1024) == 1
                                    : EVP_PKEY_CTX_set_ec_paramgen_curve_nid(context.get(), curve) == 1 &&
                                          EVP_PKEY_CTX_set_ec_param_enc(context.get(), encoding) == 1) &&
                EVP_PKEY_keygen(context.get(), &pkey) == 1);
    CryptoKey::PublicKey key;
    key.SetKey(pkey);
    return key;
}

inline std::string Segment(const std::string& bytes)
{
    std::string text = OpenSsl::Base64(bytes);
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text.substr(0, text.find('='));
}

/** A token of that "alg" and those claims, signed by the key with the digest that the "alg" ends with. */
inline std::string MakeToken(const std::string& alg, const std::string& claims, const CryptoKey::Key& key)
{
    const std::string input = Segment("{\"alg\":\"" + alg + "\"}") + '.' + Segment(claims);
    const OpenSsl::EvpMdCtxPtr context(EVP_MD_CTX_new());
    std::size_t size = 1024;
    std::string signature(size, '\0');
    EVP_DigestSignInit(context.get(), nullptr, EVP_get_digestbyname(("SHA" + alg.substr(2)).c_str()), nullptr,
                       key.GetKey());
    EXPECT_EQ(EVP_DigestSign(context.get(), OpenSsl::Bytes(signature), &size, OpenSsl::Bytes(input), input.size()), 1);
    signature.resize(size);
    if (key.GetKeyType() == CryptoKey::KeyType::ECDSA) {
        const unsigned char* next = OpenSsl::Bytes(signature);
        const OpenSsl::EcdsaSigPtr pair(d2i_ECDSA_SIG(nullptr, &next, static_cast<long>(size)));
        const int half = (EVP_PKEY_bits(key.GetKey()) + 7) / 8;
        signature.resize(2 * static_cast<std::size_t>(half));
        BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), OpenSsl::Bytes(signature), half);
        BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), OpenSsl::Bytes(signature) + half, half);
    }
    return input + '.' + Segment(signature);
}
