#include <gtest/gtest.h>

#include "Jwt.h"
#include "PublishedTokens.h"
#include "TokenMaker.h"

using CryptoKey::DigestType;
using CryptoKey::PublicKey;
using JwtUtils::Jwt;
using JwtUtils::JwtError;

constexpr char kClaims[] = R"({"iss":"joe","exp":4102444800})";

static JwtError Verify(const std::string& text, const PublicKey& key)
{
    Jwt token(text);
    const JwtError error = token.VerifySignature(key);
    EXPECT_EQ(token.IsSignatureVerified(), error == JwtError::NO_ERROR);
    return error;
}

TEST(JwtSignature, OfPublishedTokens_IsVerified)
{
    for (const auto& [source, pem, digest, input, signature, key] : PublishedTokens()) {
        JwtError error = JwtError::OPENSSL_ERROR;
        const std::string converted = Jwt::ConvertSignature(key, JwtUtils::DecodeSegment(signature), error);
        EXPECT_EQ(error, JwtError::NO_ERROR) << source;
        EXPECT_TRUE(key.VerifySignature(input, converted, digest)) << source;
        EXPECT_TRUE(key.VerifySignature(input, converted, DigestType::DEFAULT)) << source;
        EXPECT_FALSE(key.VerifySignature(input + '.', converted, digest)) << source;
        // The claims of the others are no JSON.
        const bool isJwt = input.find(".eyJ") != std::string::npos;
        std::string token(input);
        token.append(".").append(signature);
        EXPECT_EQ(Verify(token, key), isJwt ? JwtError::NO_ERROR : JwtError::JSON_PARSE_ERROR);
    }
}

TEST(JwtSignature, OfEveryAlgorithm_IsVerifiedByItsKeyOnly)
{
    const PublicKey rsa = MakeKey(), otherRsa = PublishedTokens()[0].key;
    const PublicKey p256 = MakeKey(NID_X9_62_prime256v1), p384 = MakeKey(NID_secp384r1), p521 = MakeKey(NID_secp521r1);
    const PublicKey explicit256(MakeKey(NID_X9_62_prime256v1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    constexpr auto kFailed = JwtError::SIGNATURE_VERIFICATION_FAILED;
    const std::tuple<const char*, PublicKey, DigestType, PublicKey, JwtError> cases[] = {
        {"RS256", rsa, DigestType::SHA256, otherRsa, kFailed},
        {"RS384", rsa, DigestType::SHA384, p256, JwtError::SIGNATURE_KEY_MISMATCH},
        {"RS512", rsa, DigestType::SHA512, p521, JwtError::SIGNATURE_KEY_MISMATCH},
        {"PS256", rsa, DigestType::SHA256, otherRsa, kFailed},
        {"PS384", rsa, DigestType::SHA384, otherRsa, kFailed},
        {"PS512", rsa, DigestType::SHA512, {}, JwtError::SIGNATURE_INVALID_KEY},
        {"ES256", p256, DigestType::SHA256, explicit256, kFailed},
        {"ES384", p384, DigestType::SHA384, p256, JwtError::SIGNATURE_SIZE_MISMATCH},
        {"ES512", p521, DigestType::SHA512, rsa, JwtError::SIGNATURE_KEY_MISMATCH},
        {"HS256", rsa, DigestType::SHA256, {}, JwtError::INVALID_SIGNATURE_ALGORITHM},
    };
    for (const auto& [alg, key, digest, wrongKey, error] : cases) {
        const bool isKnown = error != JwtError::INVALID_SIGNATURE_ALGORITHM;
        const std::string token = MakeToken(alg, kClaims, key, digest);
        EXPECT_EQ(Verify(token, PublicKey(key.ToString())), isKnown ? JwtError::NO_ERROR : error) << alg;
        EXPECT_EQ(Verify(token, wrongKey), error) << alg;
        const DigestType wrong = digest == DigestType::SHA256 ? DigestType::SHA512 : DigestType::SHA256;
        EXPECT_EQ(Verify(MakeToken(alg, kClaims, key, wrong), key), isKnown ? kFailed : error) << alg;
    }
}

TEST(JwtSignature, OfAChangedToken_Fails)
{
    const PublicKey key = MakeKey(NID_X9_62_prime256v1);
    const std::string text = MakeToken("ES256", kClaims, key, DigestType::SHA256);
    // The last character's low bits stand for nothing.
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        std::string changed = text;
        changed[at] = text[at] == 'A' ? 'B' : 'A';
        EXPECT_NE(Verify(changed, key), JwtError::NO_ERROR) << changed;
    }
    EXPECT_EQ(Verify(text + "==", key), JwtError::NO_ERROR);
    EXPECT_EQ(Verify(text + '!', key), JwtError::INVALID_SIGNATURE);
    EXPECT_EQ(Verify(text.substr(0, text.rfind('.') + 1), key), JwtError::INVALID_SIGNATURE);

    Jwt token(text);
    EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
    EXPECT_EQ(token.VerifySignature({}), JwtError::SIGNATURE_INVALID_KEY);
    EXPECT_TRUE(token.IsValid() && !token.IsSignatureVerified());
}

TEST(JwtSignature, IsConverted)
{
    const PublicKey p256 = PublishedTokens()[1].key;
    const PublicKey p521(MakeKey(NID_secp521r1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    const std::string zeros(63, '\0');
    const std::tuple<PublicKey, std::string, std::string, JwtError> cases[] = {
        {p256, zeros + '\x80', {"\x30\x07\x02\x01\0\x02\x02\0\x80", 9}, JwtError::NO_ERROR},
        {p256, zeros, "", JwtError::SIGNATURE_SIZE_MISMATCH},
        {p256, zeros + "ab", "", JwtError::SIGNATURE_SIZE_MISMATCH},
        {p521, std::string(131, 'x'), "", JwtError::SIGNATURE_SIZE_MISMATCH},
        {{}, "as it is", "as it is", JwtError::NO_ERROR},
        {PublishedTokens()[0].key, "as it is", "as it is", JwtError::NO_ERROR},
    };
    for (const auto& [key, signature, der, result] : cases) {
        JwtError error = JwtError::OPENSSL_ERROR;
        EXPECT_EQ(Jwt::ConvertSignature(key, signature, error), der);
        EXPECT_EQ(error, result);
    }
}
