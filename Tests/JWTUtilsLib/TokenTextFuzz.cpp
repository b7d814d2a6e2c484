#include <cstdint>
#include <stdexcept>

#include "FuzzCheck.h"
#include "Jwt.h"
#include "PublishedTokens.h"

using JwtUtils::Jwt;
using JwtUtils::JwtError;

static void CheckTimes(const Jwt& token)
{
    try {
        const JwtError error = token.HasExpired(60, 1800000000);
        FUZZ_CHECK(token.IsSignatureVerified() || error != JwtError::NO_ERROR);
        static_cast<void>(token.Exp() ^ token.Nbf() ^ token.Iat());
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Jwt token(std::string(reinterpret_cast<const char*>(data), size));
    const JwtError parsed = token.Error();
    FUZZ_CHECK(token.IsValid() == (parsed == JwtError::NO_ERROR));
    FUZZ_CHECK(!token.IsValid() || (!token.Header().empty() && !token.Claims().empty()));
    CheckTimes(token);

    const JwtError validated = token.Validate();
    FUZZ_CHECK(parsed == JwtError::NO_ERROR || validated == parsed);
    FUZZ_CHECK(validated == token.Error() && token.IsValid() == (validated == JwtError::NO_ERROR));
    for (const PublishedToken& published : PublishedTokens()) {
        JwtError error = token.VerifySignature(published.key);
        FUZZ_CHECK(token.IsSignatureVerified() == (error == JwtError::NO_ERROR));
        // Nobody without the private key can sign anything but what its owner has signed.
        FUZZ_CHECK(!token.IsSignatureVerified() || token.Text().find(published.signingInput + '.') == 0);
        CheckTimes(token);
        const std::string converted = Jwt::ConvertSignature(published.key, token.Text(), error);
        FUZZ_CHECK(error == JwtError::NO_ERROR || converted.empty());
    }
    return 0;
}
