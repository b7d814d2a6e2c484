#pragma once

#include "Key.h"

#include <string>

namespace CryptoKey
{
/** A public key, which comes and goes as PEM text (RFC 7468 section 13) and verifies signatures. Not thread-safe. */
class PublicKey : public Key
{
public:
    PublicKey() = default;

    /** As LoadString; the key type tells the result. */
    explicit PublicKey(const std::string& pem) { LoadString(pem); }

    /**
     * Reads a key. Text before it is skipped; an encrypted block is refused, never asked a password for.
     *
     * @return whether there was a public key. It may be of a type that SetKey refuses: check the key type. After false
     *         the object is as it was before.
     */
    bool LoadString(const std::string& pem);

    /** The key as PEM text, empty when there is none. */
    std::string ToString() const;

    /**
     * Whether the signature is that of the message by this key's owner: RSA with PKCS #1 v1.5 padding (RFC 8017
     * section 8.2), or ECDSA in DER form.
     */
    bool VerifySignature(const std::string& message, const std::string& signature, DigestType digestType) const;
};
} // namespace CryptoKey
