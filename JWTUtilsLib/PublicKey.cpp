#include "PublicKey.h"

#include "DPrint.h"
#include "OpenSslErrors.h"
#include "OpenSslTypes.h"

#include <openssl/pem.h>

namespace CryptoKey
{
namespace
{
const DPrint s_log("CryptoKey::PublicKey");

constexpr int kErrorLevel = 1;
} // namespace

bool PublicKey::LoadString(const std::string& pem)
{
    if (pem.empty()) {
        s_log.Log(kErrorLevel, "%s: No data", __func__);
        return false;
    }
    const OpenSsl::BioPtr bio(BIO_new_mem_buf(pem.c_str(), -1));
    if (!bio) {
        LogOpenSslError(s_log, __func__, "BIO_new_mem_buf");
        return false;
    }
    // Without a callback OpenSSL takes its last argument as the password; without either it asks at the terminal.
    char noPassword[] = "";
    EVP_PKEY* pkey = PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, noPassword);
    if (pkey == nullptr) {
        LogOpenSslError(s_log, __func__, "PEM_read_bio_PUBKEY");
        return false;
    }
    SetKey(pkey);
    return true;
}

std::string PublicKey::ToString() const
{
    if (GetKey() == nullptr) {
        s_log.Log(kErrorLevel, "%s: Key not loaded", __func__);
        return {};
    }
    const char* failedCall = nullptr;
    const OpenSsl::BioPtr bio(BIO_new(BIO_s_mem()));
    if (!bio) {
        failedCall = "BIO_new";
    } else if (PEM_write_bio_PUBKEY(bio.get(), GetKey()) != 1) {
        failedCall = "PEM_write_bio_PUBKEY";
    } else if (BIO_flush(bio.get()) != 1) {
        failedCall = "BIO_flush";
    }
    if (failedCall != nullptr) {
        LogOpenSslError(s_log, __func__, failedCall);
        return {};
    }
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

bool PublicKey::VerifySignature(const std::string& message, const std::string& signature, DigestType digestType) const
{
    if (GetKey() == nullptr) {
        s_log.Log(kErrorLevel, "%s: Key not loaded.", __func__);
        return false;
    }
    const EVP_MD* digest = GetMessageDigest(digestType);
    const char* failedCall = nullptr;
    const OpenSsl::EvpMdCtxPtr context(EVP_MD_CTX_new());
    if (!context) {
        failedCall = "EVP_MD_CTX_create";
    } else if (EVP_DigestVerifyInit(context.get(), nullptr, digest, nullptr, GetKey()) != 1) {
        failedCall = "EVP_DigestVerifyInit";
    } else if (EVP_DigestVerifyUpdate(context.get(), message.data(), message.size()) != 1) {
        failedCall = "EVP_DigestVerifyUpdate";
    } else if (EVP_DigestVerifyFinal(context.get(), OpenSsl::Bytes(signature), signature.size()) != 1) {
        failedCall = "EVP_DigestVerifyFinal";
    }
    if (failedCall != nullptr) {
        LogOpenSslError(s_log, __func__, failedCall);
        return false;
    }
    return true;
}
} // namespace CryptoKey
