#include "FuzzTarget.h"
#include "Jwt.h"
#include "PublishedTokens.h"

#include <stdexcept>

using JwtUtils::Jwt;
using JwtUtils::JwtError;

void CheckInput(const std::string& input)
{
    Jwt token(input);
    const JwtError parsed = token.Error();
    FUZZ_CHECK(token.IsValid() == (parsed == JwtError::NO_ERROR));
    FUZZ_CHECK(!token.IsValid() || (!token.Header().empty() && !token.Claims().empty()));
    FUZZ_CHECK(token.HasExpired(60, 1800000000) != JwtError::NO_ERROR);

    const JwtError validated = token.Validate();
    FUZZ_CHECK(parsed == JwtError::NO_ERROR || validated == parsed);
    FUZZ_CHECK(validated == token.Error() && token.IsValid() == (validated == JwtError::NO_ERROR));
    for (const PublishedToken& published : PublishedTokens()) {
        JwtError error = token.VerifySignature(published.key);
        FUZZ_CHECK(token.IsSignatureVerified() == (error == JwtError::NO_ERROR));
        // Nobody without the private key can sign anything but what its owner has signed.
        FUZZ_CHECK(!token.IsSignatureVerified() || published.text.find(input.substr(0, input.rfind('.') + 1)) == 0);
        const std::string converted = Jwt::ConvertSignature(published.key, input, error);
        FUZZ_CHECK(error == JwtError::NO_ERROR || converted.empty());
    }
    try {
        static_cast<void>(token.Exp() ^ token.Nbf() ^ token.Iat());
    } catch (const std::logic_error&) { // a time that is none is no finding
    }
}
