#pragma once

#include <memory>
#include <string>

struct x509_st;

namespace DiagSeal
{

/**
 * The recipient's certificate. Its key is RSA of 2048 bits or more, or of an elliptic curve of 224 bits or more. These
 * limits are equally strong (NIST SP 800-57, part 1, table 2). Not thread-safe.
 */
class Certificate
{
public:
    /** @throws std::runtime_error with the reason: the PEM file cannot be read, holds no certificate, or its key is
     * of another kind or too short */
    explicit Certificate(const std::string& path);

    /** Such a certificate still seals: a device in the field must not fall silent. */
    bool IsExpired() const;

    x509_st* Get() const { return m_certificate.get(); }

private:
    std::shared_ptr<x509_st> m_certificate;
};

} // namespace DiagSeal
