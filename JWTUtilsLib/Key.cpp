#include "Key.h"

#include "DPrint.h"
#include "OpenSslErrors.h"
#include "OpenSslVersions.h"
#include "PublicKey.h"
#include "StdioFile.h"

#include <openssl/err.h>
#include <openssl/objects.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <system_error>

namespace CryptoKey
{
namespace
{
const DPrint s_log("CryptoKey::Key");

template <typename Type>
struct Name
{
    Type type;
    const char* text;
};

constexpr Name<KeyType> kKeyTypes[] = {
    {KeyType::INVALID, "INVALID"},
    {KeyType::RSA, "RSA"},
    {KeyType::ECDSA, "ECDSA"},
};

constexpr Name<DigestType> kDigestTypes[] = {
    {DigestType::INVALID, "INVALID"}, {DigestType::SHA256, "SHA256"},   {DigestType::SHA384, "SHA384"},
    {DigestType::SHA512, "SHA512"},   {DigestType::DEFAULT, "DEFAULT"},
};

template <typename Type, std::size_t size>
const char* TextOf(Type type, const Name<Type> (&names)[size]) noexcept
{
    for (const auto& name : names) {
        if (name.type == type) {
            return name.text;
        }
    }
    return "(unknown)";
}

const char* LongName(int nid)
{
    const char* name = OBJ_nid2ln(nid);
    return name != nullptr ? name : "(unknown)";
}
} // namespace

const char* ToText(KeyType type) noexcept
{
    return TextOf(type, kKeyTypes);
}

const char* ToText(DigestType type) noexcept
{
    return TextOf(type, kDigestTypes);
}

Key::Key(const std::string& path) : Key(PublicKey(ReadFile(path))) {}

void Key::SetKey(EVP_PKEY* pkey)
{
    std::shared_ptr<EVP_PKEY> key(pkey, EVP_PKEY_free);
    m_key.reset();
    m_type = KeyType::INVALID;
    if (pkey == nullptr) {
        return;
    }
    const int nid = EVP_PKEY_type(EVP_PKEY_base_id(pkey));
    switch (nid) {
        case static_cast<int>(KeyType::RSA):
        case static_cast<int>(KeyType::ECDSA):
            m_key = std::move(key);
            m_type = static_cast<KeyType>(nid);
            s_log.Log(4, "%s: Loaded key of type %s (nid=%d)", __func__, LongName(nid), nid);
            break;
        case NID_undef:
            LogOpenSslError(s_log, __func__, "EVP_PKEY_type");
            break;
        default:
            s_log.Log(2, "%s: Key type %s (nid=%d) is not supported!", __func__, LongName(nid), nid);
    }
}

bool Key::operator==(const Key& other) const
{
    if (!m_key || !other.m_key) {
        return !m_key && !other.m_key;
    }
    // For OpenSSL keys that differ in type are an error: left in its queue, the next failure would print it.
    ERR_set_mark();
    const int result = Compare(m_key.get(), other.m_key.get());
    ERR_pop_to_mark();
    if (result == -2) {
        s_log.Log(2, "%s: EVP_PKEY_cmp operation not supported.", __func__);
    }
    return result == 1;
}

const EVP_MD* Key::GetMessageDigest(DigestType type) const
{
    switch (type) {
        case DigestType::SHA384:
            return EVP_sha384();
        case DigestType::SHA512:
            return EVP_sha512();
        case DigestType::DEFAULT:
            return m_type == KeyType::ECDSA ? GetDefaultMessageDigestECDSA() : EVP_sha256();
        default:
            return EVP_sha256();
    }
}

const EVP_MD* Key::GetDefaultMessageDigestECDSA() const
{
    const CurveDegree degree = DegreeOf(m_key.get());
    if (degree.failedCall != nullptr) {
        LogOpenSslError(s_log, __func__, degree.failedCall);
        return EVP_sha256();
    }
    if (degree.bits < 384) {
        return EVP_sha256();
    }
    return degree.bits < 512 ? EVP_sha384() : EVP_sha512();
}

std::string Key::ReadFile(const std::string& path)
{
    s_log.Log(3, "%s: Reading %s", __func__, path.c_str());
    std::string text;
    try {
        const Files::StdioFile file = Files::OpenForReading(path);
        if (!file) {
            throw std::system_error(errno, std::generic_category());
        }
        Files::ReadAll(file.get(), text);
    } catch (const std::exception& error) {
        s_log.Log(2, "%s: Failed to read file '%s': %s", __func__, path.c_str(), error.what());
    }
    return text;
}

bool Key::WriteFile(const std::string& path, const std::string& text)
{
    Files::StdioFile file(std::fopen(path.c_str(), "wbe"));
    // Closing writes what is still buffered, and so may fail for want of space.
    if (!file || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() ||
        std::fclose(file.release()) != 0) {
        s_log.Log(2, "%s: Failed to write file '%s': %s", __func__, path.c_str(),
                  std::generic_category().message(errno).c_str());
        return false;
    }
    return true;
}
} // namespace CryptoKey
