#include "CapturedLog.h"
#include "Jwt.h"
#include "PublishedTokens.h"
#include "Texts.h"
#include "TokenMaker.h"

#include <stdexcept>

using namespace CryptoKey;
using namespace JwtUtils;

constexpr char kClaims[] = R"({"iss":"joe","exp":4102444800})";

static Jwt TokenOf(const std::string& header, const std::string& claims)
{
    return Jwt(Segment(header) + '.' + Segment(claims) + '.');
}

/** The name of what comes of it. */
static std::string Verify(const std::string& text, const PublicKey& key)
{
    Jwt token(text);
    const JwtError error = token.VerifySignature(key);
    EXPECT_EQ(token.IsSignatureVerified(), error == JwtError::NO_ERROR);
    return ToText(error);
}

TEST(Jwt, GivesEveryValueItsName)
{
    const Jwt token = TokenOf(R"({"typ":"a","cty":"b","alg":"c","kid":"d"})",
                              R"({"iss":"e","sub":"f","aud":["g"],"jti":"h","exp":1.7e9,"nbf":"-2h","iat":3})");
    EXPECT_EQ(token.Typ() + token.Cty() + token.Alg() + token.Kid(), "abcd");
    EXPECT_EQ(token.Iss() + token.Sub() + token.Aud() + token.Jti(), "efgh");
    EXPECT_EQ(token.Exp() + token.Nbf() + token.Iat(), 1700000001);
    EXPECT_TRUE(Jwt().Typ().empty() && Jwt().Iss().empty() && Jwt().Exp() == 0);
    const Jwt timeless = TokenOf(R"({"alg":1})", R"({"exp":9223372036854775808,"nbf":"soon"})");
    EXPECT_THROW(timeless.Exp(), std::out_of_range);
    EXPECT_THROW(timeless.Nbf(), std::invalid_argument);
}

TEST(Jwt, KeepsValuesAsText)
{
    const Jwt token =
        TokenOf(R"({"alg":1})",
                R"({"a":null,"b":["c"],"d":[-1,[]],"e":{},"f":[],"g":[[1]]} and more)"); // the reader is no strict one
    EXPECT_EQ(token.Claims(), (Jwt::Members{{"a", ""}, {"b", "c"}, {"d", "[\n\t-1,\n\t[]\n]\n"}, {"e", "{}\n"}}));

    // What takes the most memory: as many values as there is room for, each on a line of its own, as deep as may be.
    const std::string lists(Jwt::kMaxDepth - 3, '['), ends(lists.size(), ']');
    const Jwt large = TokenOf(R"({"alg":1})", R"({"a":[0,)" + lists + "0" + Repeated(",0", 12000) + ends + "]}");
    EXPECT_TRUE(large.IsValid());
    EXPECT_LT(large.Claims().at("a").size(), 40 * large.Text().size());
    EXPECT_FALSE(TokenOf(R"({"alg":1})", R"({"a":[0,[[)" + lists + ends + "]]]}").IsValid());
}

TEST(Jwt, RefusesWhatIsNoToken)
{
    const std::string header = Segment(R"({"alg":"RS256"})"), claims = Segment(R"({"iss":"joe"})");
    const std::string noSignature = header + '.' + claims;
    const auto validate = [](const std::string& text) { return std::string(ToText(Jwt(text).Validate())); };
    for (const std::string& text : {std::string(), header, noSignature}) {
        EXPECT_EQ(validate(text), "JWT_FORMAT_ERROR") << text;
    }
    for (const std::string json : {"{}", R"({"e":[]})", R"(["iss"])", "{", ""}) {
        EXPECT_EQ(validate(Segment(json) + '.' + claims + '.'), "JSON_PARSE_ERROR") << json;
        EXPECT_EQ(validate(header + '.' + Segment(json) + '.'), "JSON_PARSE_ERROR") << json;
    }
    EXPECT_FALSE(Jwt(noSignature + "!.").IsValid());
    EXPECT_EQ(validate(noSignature + "=.a.b"), "NO_ERROR");
    EXPECT_STREQ(ToText(JwtError::OPENSSL_ERROR), "OPENSSL_ERROR");
    EXPECT_STREQ(ToText(static_cast<JwtError>(13)), "(unknown)");
}

TEST(Jwt, HasExpired_ByItsTimesAndTheLeeway)
{
    const struct
    {
        std::int64_t exp, nbf, leeway, now;
        const char* result;
    } cases[] = {
        {0, 0, 0, INT64_MAX, "NO_ERROR"},
        {1000, 3000, 0, 2000, "JWT_PAST_EXPIRATION"},
        {1000, 0, 60, 1059, "NO_ERROR"},
        {1000, 0, 60, 1060, "JWT_PAST_EXPIRATION"},
        {0, 1000, 60, 940, "NO_ERROR"},
        {0, 1000, 60, 939, "JWT_BEFORE_NBF"},
        {1LL << 32, 0, 0, 1LL << 32, "JWT_PAST_EXPIRATION"},
        {INT64_MAX - 9, 0, 60, INT64_MAX - 1, "NO_ERROR"},
        {0, INT64_MIN, 60, INT64_MIN, "NO_ERROR"},
    };
    Jwt hmac = TokenOf(R"({"alg":"HS256"})", R"({"exp":1})");
    EXPECT_STREQ(ToText(hmac.HasExpired(0)), "SIGNATURE_NOT_VERIFIED");
    hmac.Validate();
    EXPECT_EQ(hmac.HasExpired(0), JwtError::INVALID_SIGNATURE_ALGORITHM);
    const PublicKey key = MakeKey(NID_X9_62_prime256v1);
    for (const auto& [exp, nbf, leeway, now, result] : cases) {
        const std::string claims = R"({"exp":)" + std::to_string(exp) + R"(,"nbf":)" + std::to_string(nbf) + '}';
        Jwt token(MakeToken("ES256", claims, key));
        EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
        EXPECT_STREQ(ToText(token.HasExpired(leeway, now)), result) << claims << ' ' << leeway << ' ' << now;
        EXPECT_EQ(token.HasExpired(0), token.HasExpired(0, 1800000000)) << "no case changes in this century";
    }
}

TEST(JwtSignature, OfEveryAlgorithm_IsVerifiedByItsKeyOnly)
{
    const PublicKey rsa = MakeKey(), otherRsa = PublishedTokens()[0].key;
    const PublicKey p256 = MakeKey(NID_X9_62_prime256v1), p384 = MakeKey(NID_secp384r1), p521 = MakeKey(NID_secp521r1);
    const PublicKey explicit256(MakeKey(NID_X9_62_prime256v1, OPENSSL_EC_EXPLICIT_CURVE).ToString());
    const auto expect = [](const std::string& alg, const PublicKey& key, const PublicKey& wrongKey,
                           const std::string& error) {
        const std::string token = MakeToken(alg, kClaims, key);
        EXPECT_EQ(Verify(token, PublicKey(key.ToString())), "NO_ERROR") << alg;
        EXPECT_EQ(Verify(token, wrongKey), error) << alg;
    };
    expect("RS256", rsa, otherRsa, "SIGNATURE_VERIFICATION_FAILED");
    expect("RS384", rsa, p256, "SIGNATURE_KEY_MISMATCH");
    expect("RS512", rsa, p521, "SIGNATURE_KEY_MISMATCH");
    expect("PS256", rsa, otherRsa, "SIGNATURE_VERIFICATION_FAILED");
    expect("PS384", rsa, otherRsa, "SIGNATURE_VERIFICATION_FAILED");
    expect("PS512", rsa, {}, "SIGNATURE_INVALID_KEY");
    expect("ES256", p256, explicit256, "SIGNATURE_VERIFICATION_FAILED");
    expect("ES384", p384, p521, "SIGNATURE_SIZE_MISMATCH");
    expect("ES512", p521, rsa, "SIGNATURE_KEY_MISMATCH");
    EXPECT_EQ(Verify(PublishedTokens()[0].text, otherRsa), "NO_ERROR");
    EXPECT_EQ(Verify(PublishedTokens()[1].text, PublishedTokens()[1].key), "NO_ERROR");
}

TEST(JwtSignature, OfAChangedToken_Fails)
{
    const PublicKey key = MakeKey(NID_X9_62_prime256v1);
    const std::string text = MakeToken("ES256", kClaims, key);
    // The last character's low bits stand for nothing.
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        std::string changed = text;
        changed[at] = text[at] == 'A' ? 'B' : 'A';
        EXPECT_NE(Verify(changed, key), "NO_ERROR") << changed;
    }
    EXPECT_EQ(Verify(text + "==", key), "NO_ERROR");
    EXPECT_EQ(Verify(MakeToken("HS256", kClaims, key), key), "INVALID_SIGNATURE_ALGORITHM");
    EXPECT_EQ(Verify(text + "AAAA", key), "SIGNATURE_SIZE_MISMATCH");
    EXPECT_EQ(Verify(text + '!', key), "INVALID_SIGNATURE");
    EXPECT_EQ(Verify(text.substr(0, text.rfind('.') + 1), key), "INVALID_SIGNATURE");

    Jwt token(text);
    EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
    EXPECT_EQ(token.VerifySignature({}), JwtError::SIGNATURE_INVALID_KEY);
    EXPECT_TRUE(token.IsValid() && !token.IsSignatureVerified());
}

TEST(Jwt, LogsEachOperation)
{
    const PublicKey rsa = MakeKey(), p256 = MakeKey(NID_X9_62_prime256v1);
    Jwt good(MakeToken("RS256", kClaims, rsa)), hmac = TokenOf(R"({"alg":"HS256"})", kClaims);
    JwtError error = JwtError::OPENSSL_ERROR;
    const CapturedLog log;
    EXPECT_FALSE(Jwt("a.b").IsValid());
    TokenOf("{}", "[]");
    hmac.Validate();
    good.VerifySignature(p256);
    good.VerifySignature(rsa);
    good.HasExpired(60, 5);
    EXPECT_EQ(Jwt::ConvertSignature(rsa, "sig", error), "sig");
    EXPECT_EQ(error, JwtError::NO_ERROR);
    Jwt::ConvertSignature(p256, "sig", error);
    EXPECT_EQ(CapturedLog::TextOf("JwtUtils::Jwt"), R"(
3 ParseJwtString: Invalid JWT: a.b
2 ParseJwtString: JWT parsing failed with error code: JWT_FORMAT_ERROR
6 ParseJson: Parsed 0 values
3 ParseJson: Could not parse JWT JSON: it is no object
3 ParseJwtString: Invalid JWT
2 ParseJwtString: JWT parsing failed with error code: JSON_PARSE_ERROR
4 Validate
3 Validate: Loaded JWT with unsupported key algorithm: 'HS256'
2 Validate: Validation failed with error code: INVALID_SIGNATURE_ALGORITHM
4 VerifySignature
4 Validate
3 Validate: Loaded JWT with key type RSA-SHA256
3 VerifySignature: JWT algorithm (alg='RS256') does not match key type: ECDSA
2 VerifySignature: Signature verification failed with error code: SIGNATURE_KEY_MISMATCH
4 VerifySignature
4 Validate
3 Validate: Loaded JWT with key type RSA-SHA256
3 VerifySignature: Signature verification successful.
4 HasExpired: now=5 nbf=0 exp=4102444800
4 ConvertSignature
3 ConvertSignature: Wrong key type for ConvertSignature (RSA)
4 ConvertSignature
6 ConvertSignature: sig.size = 3
6 ConvertSignature: key degree = 256 (64)
3 ConvertSignature: Signature size error for EC_KEY (size is: 3, should be: 64)
)");
}
