#include <cstdint>
#include <stdexcept>

#include "FuzzCheck.h"
#include "Jwt.h"
#include "PublicKey.h"
#include "PublishedTokens.h"

using JwtUtils::Jwt;
using JwtUtils::JwtError;

namespace
{
void CheckTimes(const Jwt& token)
{
    try {
        const JwtError error = token.HasExpired(60, 1800000000);
        FUZZ_CHECK(!token.IsValid() || token.IsSignatureVerified() || error == JwtError::SIGNATURE_NOT_VERIFIED);
        static_cast<void>(token.Exp() + token.Nbf() / 2 + token.Iat() / 2);
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
}

/** Nobody without the private key could make a signature of anything but what its owner has signed. */
void CheckSignature(Jwt token, const PublishedToken& published, const CryptoKey::PublicKey& key)
{
    const JwtError error = token.VerifySignature(key);
    FUZZ_CHECK(token.IsSignatureVerified() == (error == JwtError::NO_ERROR));
    FUZZ_CHECK(!token.IsSignatureVerified() || token.Text().find(published.signingInput + '.') == 0);
    CheckTimes(token);

    JwtError conversion = JwtError::NO_ERROR;
    const std::string converted = Jwt::ConvertSignature(key, token.Text(), conversion);
    FUZZ_CHECK(conversion == JwtError::NO_ERROR || converted.empty());
}

std::vector<CryptoKey::PublicKey> LoadKeys()
{
    std::vector<CryptoKey::PublicKey> keys;
    for (const PublishedToken& published : PublishedTokens()) {
        keys.emplace_back(published.pem);
    }
    return keys;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Jwt token(text);
    FUZZ_CHECK(token.Text() == text);
    FUZZ_CHECK(token.IsValid() == (token.Error() == JwtError::NO_ERROR));
    FUZZ_CHECK(!token.IsValid() || (!token.Header().empty() && !token.Claims().empty()));
    CheckTimes(token);

    const JwtError parsed = token.Error();
    const JwtError validated = token.Validate();
    FUZZ_CHECK(parsed == JwtError::NO_ERROR || validated == parsed);
    FUZZ_CHECK(validated == token.Error() && token.IsValid() == (validated == JwtError::NO_ERROR));

    static const std::vector<CryptoKey::PublicKey> keys = LoadKeys();
    for (std::size_t i = 0; i < keys.size(); ++i) {
        CheckSignature(token, PublishedTokens()[i], keys[i]);
    }
    return 0;
}
