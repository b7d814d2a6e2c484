#pragma once

#include "JwtError.h"

#include <cstdint>
#include <map>
#include <string>

namespace CryptoKey
{
class PublicKey;
}

namespace JwtUtils
{
/**
 * A JSON Web Token in its compact form (RFC 7519; RFC 7515 section 3.1): three base64url segments joined by ".".
 *
 * It is checked in three steps, each of which needs the one before: Validate (it parsed and names a supported
 * algorithm), VerifySignature (a key's owner has signed it), HasExpired (its time has come and has not passed).
 * Errors are codes; nothing throws for what a token holds, but for the getters of the time claims. Header and claims
 * that nest deeper than kMaxDepth are refused: with the indentation of its JSON text a claim takes at most some 40
 * times the memory of the token.
 *
 * Copies are independent. Not thread-safe.
 */
class Jwt
{
public:
    /** In levels. Tokens in use have five at most. */
    static constexpr int kMaxDepth = 64;

    /**
     * Members of a JSON object by name. A string, number, boolean or null is kept as its plain text, null as an empty
     * one; a list of one such value as that value; an object, or a list of several values, as its JSON text. An empty
     * list, or a list of nothing but another list or an object, is not kept.
     */
    using Members = std::map<std::string, std::string>;

    /** An empty token: no text, no header, no claims. */
    Jwt() = default;

    /** Parses the token at once; IsValid and Error tell the result. */
    explicit Jwt(std::string token);

    /** True while no error has been found. */
    bool IsValid() const noexcept { return m_isValid; }

    /** What parsing or Validate has found. */
    JwtError Error() const noexcept { return m_error; }

    /** Whether the last VerifySignature succeeded. */
    bool IsSignatureVerified() const noexcept { return m_isSignatureVerified; }

    const std::string& Text() const noexcept { return m_token; }
    const Members& Header() const noexcept { return m_header; }
    const Members& Claims() const noexcept { return m_claims; }

    /** Values of the header; empty when absent. @{ */
    std::string Typ() const { return TextOf(m_header, "typ"); }
    std::string Cty() const { return TextOf(m_header, "cty"); }
    std::string Alg() const { return TextOf(m_header, "alg"); }
    std::string Kid() const { return TextOf(m_header, "kid"); }
    /** @} */

    /** Claims that are texts; empty when absent. @{ */
    std::string Iss() const { return TextOf(m_claims, "iss"); }
    std::string Sub() const { return TextOf(m_claims, "sub"); }
    std::string Aud() const { return TextOf(m_claims, "aud"); }
    std::string Jti() const { return TextOf(m_claims, "jti"); }
    /** @} */

    /**
     * Claims that are times, in seconds since the epoch; 0 when absent. As by stoll: the text's leading decimal digits
     * count, so that a fraction is cut off, and of a real number that is written with an exponent (from 1e17 on) the
     * digits before its point are all that is read.
     *
     * @throws std::invalid_argument when the text does not begin with a number, std::out_of_range when the number does
     *         not fit; the message names the claim. @{
     */
    std::int64_t Exp() const { return TimeOf("exp"); }
    std::int64_t Nbf() const { return TimeOf("nbf"); }
    std::int64_t Iat() const { return TimeOf("iat"); }
    /** @} */

    /**
     * Whether the token parsed and its "alg" is supported. Neither the signature nor a time is looked at. The result is
     * kept as the token's error; once there is one, it stays.
     */
    JwtError Validate();

    /**
     * Validates the token and verifies its signature (RFC 7515 section 5.2, steps 7 and 8). Of the header only "alg"
     * counts: "crit" is not looked at. The result is kept by IsSignatureVerified only, not as the token's error. "PS"
     * algorithms are verified as the "RS" ones of the same size.
     */
    JwtError VerifySignature(const CryptoKey::PublicKey& key);

    /**
     * Whether the time of a token with a verified signature has passed ("exp"), or has not come yet ("nbf").
     *
     * @param leewaySeconds how far the clocks of the token's issuer and of this device may differ
     * @param now           seconds since the epoch; the system's clock if not given
     * @return the token's error, SIGNATURE_NOT_VERIFIED, JWT_PAST_EXPIRATION, JWT_BEFORE_NBF or NO_ERROR
     * @throws as Exp and Nbf do
     */
    JwtError HasExpired(std::int64_t leewaySeconds) const;
    JwtError HasExpired(std::int64_t leewaySeconds, std::int64_t now) const;

    /**
     * The DER form (RFC 3279 section 2.2.3) of an ECDSA signature of a token, which is r and s as numbers of fixed
     * width, joined (RFC 7518 section 3.4). The signature as it is, when the key is no EC key.
     *
     * @param error set to NO_ERROR, or to what went wrong; the result is then empty
     *
     * Thread-safe.
     */
    static std::string ConvertSignature(const CryptoKey::PublicKey& key, const std::string& signature, JwtError& error);

private:
    void ParseJwtString();
    static void ParseJson(const std::string& text, Members& members);
    static std::string TextOf(const Members& members, const char* name);
    std::int64_t TimeOf(const char* name) const;

    bool m_isValid = true;
    JwtError m_error = JwtError::NO_ERROR;
    bool m_isSignatureVerified = false;
    std::string m_token;
    /** Where the first two "." stand; npos for none. */
    std::string::size_type m_firstDot = std::string::npos;
    std::string::size_type m_secondDot = std::string::npos;
    Members m_header;
    Members m_claims;
};
} // namespace JwtUtils
