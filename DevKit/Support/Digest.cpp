#include "Digest.h"

#include <array>
#include <stdexcept>

Digest::Digest(const EVP_MD* kind) : m_context(EVP_MD_CTX_new())
{
    if (!m_context || EVP_DigestInit_ex(m_context.get(), kind, nullptr) != 1) {
        throw std::runtime_error("the cryptographic library does not offer a digest");
    }
}

void Digest::Update(std::string_view bytes)
{
    EVP_DigestUpdate(m_context.get(), bytes.data(), bytes.size());
}

std::string Digest::Finish()
{
    constexpr const char* kHexDigits = "0123456789abcdef";
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int size = 0;
    EVP_DigestFinal_ex(m_context.get(), digest.data(), &size);
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        text += {kHexDigits[digest[index] >> 4U], kHexDigits[digest[index] & 0xFU]};
    }
    return text;
}
