#include "OpenSslVersions.h"

#include "OpenSslTypes.h"

#include <openssl/ec.h>
#include <openssl/opensslv.h>

// The older branch also builds with OpenSSL 3, where a test asks for it.
#if OPENSSL_VERSION_NUMBER >= 0x30000000L && !defined(CRYPTOKEY_AS_WITH_OPENSSL_1_1)

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/params.h>

namespace CryptoKey
{
CurveDegree DegreeOf(EVP_PKEY* pkey)
{
    if (pkey == nullptr || EVP_PKEY_get_base_id(pkey) != EVP_PKEY_EC) {
        ERR_raise(ERR_LIB_EVP, EVP_R_EXPECTING_A_EC_KEY);
        return {0, "EVP_PKEY_get1_EC_KEY"};
    }
    // A curve given by its parameters has no name to look it up by: the group is made from the parameters, which the
    // key tells of a named curve as well.
    OSSL_PARAM* parameters = nullptr;
    if (EVP_PKEY_todata(pkey, EVP_PKEY_KEY_PARAMETERS, &parameters) != 1) {
        return {0, "EVP_PKEY_get1_EC_KEY"};
    }
    const std::unique_ptr<OSSL_PARAM, OpenSsl::Deleter<OSSL_PARAM_free>> parametersOwner(parameters);
    const std::unique_ptr<EC_GROUP, OpenSsl::Deleter<EC_GROUP_free>> group(
        EC_GROUP_new_from_params(parameters, nullptr, nullptr));
    if (!group) {
        return {0, "EC_KEY_get0_group"};
    }
    const int bits = EC_GROUP_get_degree(group.get());
    return {bits, bits != 0 ? nullptr : "EC_GROUP_get_degree"};
}

int Compare(const EVP_PKEY* left, const EVP_PKEY* right)
{
    return EVP_PKEY_eq(left, right);
}
} // namespace CryptoKey

#else

namespace CryptoKey
{
CurveDegree DegreeOf(EVP_PKEY* pkey)
{
    const std::unique_ptr<EC_KEY, OpenSsl::Deleter<EC_KEY_free>> key(pkey != nullptr ? EVP_PKEY_get1_EC_KEY(pkey)
                                                                                     : nullptr);
    if (!key) {
        return {0, "EVP_PKEY_get1_EC_KEY"};
    }
    const EC_GROUP* group = EC_KEY_get0_group(key.get());
    if (group == nullptr) {
        return {0, "EC_KEY_get0_group"};
    }
    const int bits = EC_GROUP_get_degree(group);
    return {bits, bits != 0 ? nullptr : "EC_GROUP_get_degree"};
}

int Compare(const EVP_PKEY* left, const EVP_PKEY* right)
{
    return EVP_PKEY_cmp(left, right);
}
} // namespace CryptoKey

#endif
