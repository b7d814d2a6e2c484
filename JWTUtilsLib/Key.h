#pragma once

#include <openssl/evp.h>

#include <memory>
#include <string>

namespace CryptoKey
{
/** The types of keys in use, by OpenSSL's object identifiers. */
enum class KeyType
{
    INVALID = 0,
    RSA = 6,
    ECDSA = 408,
};

/** Message digests, by OpenSSL's object identifiers. */
enum class DigestType
{
    INVALID = 0,
    SHA256 = 672,
    SHA384 = 673,
    SHA512 = 674,
    DEFAULT = 675, ///< The key chooses.
};

/** The name of the type, as above; "(unknown)" for a number that is none. Thread-safe. @{ */
const char* ToText(KeyType type) noexcept;
const char* ToText(DigestType type) noexcept;
/** @} */

/**
 * A key of OpenSSL, of a supported type, or none. Copies share the key, which nothing here changes: each thread may
 * have a copy of its own.
 *
 * Nothing throws for what OpenSSL reports: the call that failed is logged, with OpenSSL's own errors.
 *
 * Not thread-safe.
 */
class Key
{
public:
    Key() = default;

    /** As SetKey. */
    explicit Key(EVP_PKEY* pkey) { SetKey(pkey); }

    /** The public key in PEM form that the file holds; none when there is none. */
    explicit Key(const std::string& path);

    /**
     * Takes ownership of the key, whatever becomes of it, and gives up the previous one. Null, or a key that is
     * neither RSA nor EC, leaves this object empty; the latter is logged.
     */
    void SetKey(EVP_PKEY* pkey);

    /** The key itself, still owned by this object and its copies; null when there is none. */
    EVP_PKEY* GetKey() const noexcept { return m_key.get(); }

    /** INVALID when there is no key. */
    KeyType GetKeyType() const noexcept { return m_type; }

    /** Whether both are the same key, or both are empty. @{ */
    bool operator==(const Key& other) const;
    bool operator!=(const Key& other) const { return !(*this == other); }
    /** @} */

    /** The digest to use with this key: SHA-256 for INVALID and any number that is no type. */
    const EVP_MD* GetMessageDigest(DigestType type) const;

    /** The digest of the strength of this EC key: SHA-256, SHA-384 from 384 bits on, SHA-512 from 512 bits on. */
    const EVP_MD* GetDefaultMessageDigestECDSA() const;

    /**
     * The whole content of a file. A failure is logged, one of a file larger than Files::kMaxFileSize too; the
     * result is then what has been read. Never waits.
     */
    static std::string ReadFile(const std::string& path);

    /** Replaces the content of a file. False, and logged, when that fails, at whatever point. */
    static bool WriteFile(const std::string& path, const std::string& text);

private:
    std::shared_ptr<EVP_PKEY> m_key;
    KeyType m_type = KeyType::INVALID;
};
} // namespace CryptoKey
