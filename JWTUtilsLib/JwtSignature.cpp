#include "JwtSignature.h"

#include "DPrint.h"
#include "JwtAlgorithm.h"
#include "OpenSslErrors.h"
#include "OpenSslTypes.h"
#include "OpenSslVersions.h"
#include "PublicKey.h"

#include <openssl/ec.h>

#include <algorithm>

namespace JwtUtils
{
namespace
{
// The lines of a token and of its signature are read together: they share a logger.
const DPrint s_log("JwtUtils::Jwt");
} // namespace

JwtError CheckSignature(const std::string& name, const std::string& input, const std::string& segment,
                        const CryptoKey::PublicKey& key)
{
    constexpr char kOperation[] = "VerifySignature";
    if (key.GetKeyType() == CryptoKey::KeyType::INVALID) {
        return JwtError::SIGNATURE_INVALID_KEY;
    }
    const Algorithm* algorithm = FindAlgorithm(name);
    if (algorithm == nullptr) {
        s_log.Log(3, "%s: Invalid or unsupported 'alg' value in JWT header: %s", kOperation, name.c_str());
        return JwtError::INVALID_SIGNATURE_ALGORITHM;
    }
    if (key.GetKeyType() != algorithm->keyType) {
        s_log.Log(3, "%s: JWT algorithm (alg='%s') does not match key type: %s", kOperation, name.c_str(),
                  ToText(key.GetKeyType()));
        return JwtError::SIGNATURE_KEY_MISMATCH;
    }
    std::string signature = DecodeSegment(segment);
    if (signature.empty()) {
        return JwtError::INVALID_SIGNATURE;
    }
    if (key.GetKeyType() == CryptoKey::KeyType::ECDSA) {
        JwtError error = JwtError::NO_ERROR;
        signature = ConvertSignature(key, signature, error);
        if (error != JwtError::NO_ERROR) {
            return error;
        }
    }
    return key.VerifySignature(input, signature, algorithm->digestType) ? JwtError::NO_ERROR
                                                                        : JwtError::SIGNATURE_VERIFICATION_FAILED;
}

std::string ConvertSignature(const CryptoKey::PublicKey& key, const std::string& signature, JwtError& error)
{
    const char* const operation = __func__;
    const auto failed = [&error, operation](const char* call) {
        CryptoKey::LogOpenSslError(s_log, operation, call);
        error = JwtError::OPENSSL_ERROR;
        return std::string();
    };

    s_log.Log(4, "%s", operation);
    error = JwtError::NO_ERROR;
    if (key.GetKeyType() != CryptoKey::KeyType::ECDSA) {
        if (key.GetKeyType() != CryptoKey::KeyType::INVALID) {
            s_log.Log(3, "%s: Wrong key type for ConvertSignature (%s)", operation, ToText(key.GetKeyType()));
        }
        return signature;
    }
    const OpenSsl::EcdsaSigPtr pair(ECDSA_SIG_new());
    if (!pair) {
        return failed("ECDSA_SIG_new");
    }
    s_log.Log(6, "%s: sig.size = %d", operation, static_cast<int>(signature.size()));
    const CryptoKey::CurveDegree degree = CryptoKey::DegreeOf(key.GetKey());
    if (degree.failedCall != nullptr) {
        return failed(degree.failedCall);
    }
    const int half = (degree.bits + 7) / 8;
    s_log.Log(6, "%s: key degree = %d (%d)", operation, degree.bits, 2 * half);
    if (signature.size() != 2 * static_cast<std::size_t>(half)) {
        s_log.Log(3, "%s: Signature size error for EC_KEY (size is: %d, should be: %d)", operation,
                  static_cast<int>(signature.size()), 2 * half);
        error = JwtError::SIGNATURE_SIZE_MISMATCH;
        return {};
    }
    OpenSsl::BignumPtr r(BN_bin2bn(OpenSsl::Bytes(signature), half, nullptr));
    OpenSsl::BignumPtr s(BN_bin2bn(OpenSsl::Bytes(signature) + half, half, nullptr));
    if (!r || !s) {
        return failed("BN_bin2bn");
    }
    if (ECDSA_SIG_set0(pair.get(), r.get(), s.get()) != 1) {
        return failed("ECDSA_SIG_set0");
    }
    // The pair owns the numbers from here on.
    static_cast<void>(r.release());
    static_cast<void>(s.release());

    const int length = i2d_ECDSA_SIG(pair.get(), nullptr);
    std::string der(static_cast<std::size_t>(std::max(length, 0)), '\0');
    unsigned char* next = OpenSsl::Bytes(der);
    const int encoded = length > 0 ? i2d_ECDSA_SIG(pair.get(), &next) : length;
    if (encoded <= 0) {
        return failed("i2d_ECDSA_SIG");
    }
    der.resize(static_cast<std::size_t>(encoded));
    return der;
}
} // namespace JwtUtils
