#include "Md5.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace DiagCloud
{

namespace
{

constexpr const char* kHexDigits = "0123456789abcdef";
constexpr std::size_t kTextLength = 32;

} // namespace

Md5::Md5() : m_context(EVP_MD_CTX_new(), EVP_MD_CTX_free)
{
    if (!m_context || EVP_DigestInit_ex(m_context.get(), EVP_md5(), nullptr) != 1) {
        throw std::runtime_error("the cryptographic library offers no MD5");
    }
}

void Md5::Update(const char* data, std::size_t size)
{
    EVP_DigestUpdate(m_context.get(), data, size);
}

std::string Md5::Finish()
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int size = 0;
    EVP_DigestFinal_ex(m_context.get(), digest.data(), &size);
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        text += kHexDigits[digest[index] >> 4U];
        text += kHexDigits[digest[index] & 0xFU];
    }
    return text;
}

Md5Verdict CompareMd5(const std::string& field, const std::string& digest)
{
    if (field.empty()) {
        return Md5Verdict::kMissing;
    }
    if (field.size() != kTextLength || field.find_first_not_of(kHexDigits) != std::string::npos) {
        return Md5Verdict::kMalformed;
    }
    return field == digest ? Md5Verdict::kMatches : Md5Verdict::kMismatch;
}

const char* Describe(Md5Verdict verdict)
{
    switch (verdict) {
        case Md5Verdict::kNotChecked:
            return "not checked";
        case Md5Verdict::kMissing:
            return "is missing";
        case Md5Verdict::kMalformed:
            return "is not 32 lower-case hexadecimal digits";
        case Md5Verdict::kMismatch:
            return "does not match the archive";
        case Md5Verdict::kMatches:
            return "matches";
    }
    return "";
}

} // namespace DiagCloud
