#include "CapturedLog.h"
#include "Jwt.h"
#include "PublishedTokens.h"
#include "TokenMaker.h"

using namespace CryptoKey;
using namespace JwtUtils;

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
    for (const auto& [source, pem, text, key] : PublishedTokens()) {
        const std::string input = text.substr(0, text.rfind('.'));
        JwtError error = JwtError::OPENSSL_ERROR;
        const std::string converted = Jwt::ConvertSignature(key, DecodeSegment(text.substr(input.size() + 1)), error);
        EXPECT_EQ(error, JwtError::NO_ERROR) << source;
        EXPECT_TRUE(key.VerifySignature(input, converted, DigestType::DEFAULT)) << source;
    }
}

TEST(JwtSignature, OfEveryAlgorithm_IsVerifiedByItsKeyOnly)
{
    const PublicKey rsa = MakeKey(), otherRsa = PublishedTokens()[0].key;
    const PublicKey p256 = MakeKey(NID_X9_62_prime256v1), p384 = MakeKey(NID_secp384r1), p521 = MakeKey(NID_secp521r1);
    const PublicKey explicit256(MakeKey(NID_X9_62_prime256v1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    constexpr auto kFailed = JwtError::SIGNATURE_VERIFICATION_FAILED, kOther = JwtError::SIGNATURE_KEY_MISMATCH;
    const auto expect = [](const std::string& alg, const PublicKey& key, const PublicKey& wrongKey, JwtError error) {
        const std::string token = MakeToken(alg, kClaims, key);
        EXPECT_EQ(Verify(token, PublicKey(key.ToString())), JwtError::NO_ERROR) << alg;
        EXPECT_EQ(Verify(token, wrongKey), error) << alg;
    };
    expect("RS256", rsa, otherRsa, kFailed);
    expect("RS384", rsa, p256, kOther);
    expect("RS512", rsa, p521, kOther);
    expect("PS256", rsa, otherRsa, kFailed);
    expect("PS384", rsa, otherRsa, kFailed);
    expect("PS512", rsa, {}, JwtError::SIGNATURE_INVALID_KEY);
    expect("ES256", p256, explicit256, kFailed);
    expect("ES384", p384, p521, JwtError::SIGNATURE_SIZE_MISMATCH);
    expect("ES512", p521, rsa, kOther);
}

TEST(JwtSignature, OfAChangedToken_Fails)
{
    const PublicKey key = MakeKey(NID_X9_62_prime256v1);
    const std::string text = MakeToken("ES256", kClaims, key);
    // The last character's low bits stand for nothing.
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        std::string changed = text;
        changed[at] = text[at] == 'A' ? 'B' : 'A';
        EXPECT_NE(Verify(changed, key), JwtError::NO_ERROR) << changed;
    }
    EXPECT_EQ(Verify(text + "==", key), JwtError::NO_ERROR);
    EXPECT_EQ(Verify(MakeToken("HS256", kClaims, key), key), JwtError::INVALID_SIGNATURE_ALGORITHM);
    EXPECT_EQ(Verify(text + "AAAA", key), JwtError::SIGNATURE_SIZE_MISMATCH);
    EXPECT_EQ(Verify(text + '!', key), JwtError::INVALID_SIGNATURE);
    EXPECT_EQ(Verify(text.substr(0, text.rfind('.') + 1), key), JwtError::INVALID_SIGNATURE);

    Jwt token(text);
    EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
    EXPECT_EQ(token.VerifySignature({}), JwtError::SIGNATURE_INVALID_KEY);
    EXPECT_TRUE(token.IsValid() && !token.IsSignatureVerified());
}

TEST(Jwt, LogsEachOperation)
{
    const PublicKey rsa = MakeKey(), p256 = MakeKey(NID_X9_62_prime256v1);
    Jwt good(MakeToken("RS256", kClaims, rsa)), hmac(MakeToken("HS256", kClaims, rsa));
    JwtError error = JwtError::NO_ERROR;
    constexpr char kLog[] = "JwtUtils::Jwt";
    const std::string start = "4 VerifySignature", validate = "4 Validate";
    const std::string loaded = "3 Validate: Loaded JWT with key type RSA-SHA256";
    ExpectLines(kLog,
                {"3 ParseJwtString: Invalid JWT: a.b",
                 "2 ParseJwtString: JWT parsing failed with error code: JWT_FORMAT_ERROR"},
                [] { Jwt("a.b"); });
    ExpectLines(
        kLog,
        {"6 ParseJson: Parsed 0 values", "3 ParseJson: Could not parse JWT JSON: it is no object",
         "3 ParseJwtString: Invalid JWT", "2 ParseJwtString: JWT parsing failed with error code: JSON_PARSE_ERROR"},
        [] { Jwt(Segment("{}") + '.' + Segment("[]") + '.'); });
    ExpectLines(kLog,
                {validate, "3 Validate: Loaded JWT with unsupported key algorithm: 'HS256'",
                 "2 Validate: Validation failed with error code: INVALID_SIGNATURE_ALGORITHM"},
                [&] { hmac.Validate(); });
    ExpectLines(
        kLog,
        {start, validate, loaded, "3 VerifySignature: JWT algorithm (alg='RS256') does not match key type: ECDSA",
         "2 VerifySignature: Signature verification failed with error code: SIGNATURE_KEY_MISMATCH"},
        [&] { good.VerifySignature(p256); });
    ExpectLines(kLog, {start, validate, loaded, "3 VerifySignature: Signature verification successful."},
                [&] { good.VerifySignature(rsa); });
    ExpectLines(kLog, {"4 HasExpired: now=5 nbf=0 exp=4102444800"}, [&] { good.HasExpired(60, 5); });
    ExpectLines(kLog, {"4 ConvertSignature", "3 ConvertSignature: Wrong key type for ConvertSignature (RSA)"},
                [&] { Jwt::ConvertSignature(rsa, "sig", error); });
    ExpectLines(kLog,
                {"4 ConvertSignature", "6 ConvertSignature: sig.size = 3", "6 ConvertSignature: key degree = 256 (64)",
                 "3 ConvertSignature: Signature size error for EC_KEY (size is: 3, should be: 64)"},
                [&] { Jwt::ConvertSignature(p256, "sig", error); });
    std::string names;
    for (int code = 0; code <= 13; ++code) {
        names.append(ToText(static_cast<JwtError>(code))).append(" ");
    }
    EXPECT_EQ(names,
              "NO_ERROR JWT_FORMAT_ERROR JSON_PARSE_ERROR INVALID_SIGNATURE INVALID_SIGNATURE_ALGORITHM "
              "SIGNATURE_NOT_VERIFIED SIGNATURE_VERIFICATION_FAILED SIGNATURE_INVALID_KEY "
              "SIGNATURE_KEY_MISMATCH SIGNATURE_SIZE_MISMATCH OPENSSL_ERROR JWT_PAST_EXPIRATION JWT_BEFORE_NBF "
              "(unknown) ");
}
