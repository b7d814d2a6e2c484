#pragma once

#include <memory>
#include <string>

struct x509_st;

namespace DiagSeal
{

/**
 * The recipient's certificate: its RSA key has 2048 bits or more, or its elliptic-curve key the 224 that are as strong
 * (NIST SP 800-57, part 1, table 2). Not thread-safe.
 */
class Certificate
{
public:
    /** @throws std::runtime_error with the reason: the PEM file is unreadable, holds none, or one with another key */
    explicit Certificate(const std::string& path);

    /** Whether it is past its end. Such a certificate still seals: a device in the field must not fall silent. */
    bool IsExpired() const;

    x509_st* Get() const { return m_certificate.get(); }

private:
    std::shared_ptr<x509_st> m_certificate;
};

} // namespace DiagSeal
