#pragma once

#include <openssl/evp.h>

/** What OpenSSL 1.1 and 3 offer by different functions. */
namespace CryptoKey
{
/** How many bits the field of an EC key's curve has. */
struct CurveDegree
{
    int bits;               ///< 0 when it cannot be told.
    const char* failedCall; ///< Why it cannot, by the names of OpenSSL 1.1; null otherwise.
};

/** @param pkey may be null or of another type: that is a failure as any other, told by OpenSSL's errors too. */
CurveDegree DegreeOf(EVP_PKEY* pkey);

/** 1 when both are the same key, 0 or -1 when not, -2 when their type cannot be compared. */
int Compare(const EVP_PKEY* left, const EVP_PKEY* right);
} // namespace CryptoKey
