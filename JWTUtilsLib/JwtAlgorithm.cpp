#include "JwtAlgorithm.h"

#include "Base64Encoder.h"

#include <algorithm>

namespace JwtUtils
{
namespace
{
using CryptoKey::DigestType;
using CryptoKey::KeyType;

// The "PS" names stand for the same as the "RS" names: no PSS padding is ever set.
constexpr Algorithm kAlgorithms[] = {
    {"RS256", KeyType::RSA, DigestType::SHA256},   {"RS384", KeyType::RSA, DigestType::SHA384},
    {"RS512", KeyType::RSA, DigestType::SHA512},   {"ES256", KeyType::ECDSA, DigestType::SHA256},
    {"ES384", KeyType::ECDSA, DigestType::SHA384}, {"ES512", KeyType::ECDSA, DigestType::SHA512},
    {"PS256", KeyType::RSA, DigestType::SHA256},   {"PS384", KeyType::RSA, DigestType::SHA384},
    {"PS512", KeyType::RSA, DigestType::SHA512},
};
} // namespace

const Algorithm* FindAlgorithm(const std::string& name) noexcept
{
    for (const Algorithm& algorithm : kAlgorithms) {
        if (name == algorithm.name) {
            return &algorithm;
        }
    }
    return nullptr;
}

std::string DecodeSegment(std::string segment)
{
    std::replace(segment.begin(), segment.end(), '-', '+');
    std::replace(segment.begin(), segment.end(), '_', '/');
    constexpr std::size_t kGroup = 4;
    segment.append((kGroup - segment.size() % kGroup) % kGroup, '=');
    return Base64Encoder::Decode(segment);
}
} // namespace JwtUtils
