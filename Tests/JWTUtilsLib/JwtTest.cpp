#include "Jwt.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <stdexcept>

#include "CapturedLog.h"
#include "TokenMaker.h"

using JwtUtils::Jwt;
using JwtUtils::JwtError;
using Text = std::string;

static Jwt TokenOf(const Text& header, const Text& claims)
{
    return Jwt(Segment(header) + '.' + Segment(claims) + '.');
}

TEST(Jwt, ReadsPublishedTokens)
{
    // RFC 7519 sections 3.1 and 6.1: signed by HMAC, and not signed.
    const Text claims =
        "eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvbS9pc19yb290Ijp0cnVlfQ.";
    Jwt token("eyJ0eXAiOiJKV1QiLA0KICJhbGciOiJIUzI1NiJ9." + claims + "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
    EXPECT_EQ(token.Header(), (Jwt::Members{{"typ", "JWT"}, {"alg", "HS256"}}));
    EXPECT_EQ(token.Claims(),
              (Jwt::Members{{"iss", "joe"}, {"exp", "1300819380"}, {"http://example.com/is_root", "true"}}));
    EXPECT_EQ(Jwt("eyJhbGciOiJub25lIn0." + claims).Validate(), JwtError::INVALID_SIGNATURE_ALGORITHM);

    Jwt copy(token);
    EXPECT_EQ(copy.Validate(), JwtError::INVALID_SIGNATURE_ALGORITHM);
    EXPECT_EQ(copy.HasExpired(0), JwtError::INVALID_SIGNATURE_ALGORITHM);
    EXPECT_TRUE(token.IsValid() && !copy.IsValid());
    EXPECT_EQ(token.HasExpired(0), JwtError::SIGNATURE_NOT_VERIFIED);
}

TEST(Jwt, GivesEveryValueItsName)
{
    const Jwt token = TokenOf(R"({"typ":"a","cty":"b","alg":"c","kid":"d"})",
                              R"({"iss":"e","sub":"f","aud":["g"],"jti":"h","exp":1,"nbf":2,"iat":3})");
    EXPECT_EQ(token.Typ() + token.Cty() + token.Alg() + token.Kid(), "abcd");
    EXPECT_EQ(token.Iss() + token.Sub() + token.Aud() + token.Jti(), "efgh");
    EXPECT_EQ(token.Exp() * 100 + token.Nbf() * 10 + token.Iat(), 123);
    EXPECT_TRUE(Jwt().Typ().empty() && Jwt().Iss().empty() && Jwt().Exp() == 0);
}

TEST(Jwt, KeepsValuesAsText)
{
    const std::pair<Text, std::optional<Text>> cases[] = {
        {R"("text")", "text"},
        {"-17", "-17"},
        {"true", "true"},
        {"null", ""},
        {R"(["one"])", "one"},
        {"[null]", ""},
        {"[]", std::nullopt},
        {"[[1]]", std::nullopt},
        {"[{}]", std::nullopt},
        {"{}", "{}\n"},
        {"[1,[]]", "[\n\t1,\n\t[]\n]\n"},
    };
    for (const auto& [json, text] : cases) {
        const Jwt token = TokenOf(R"({"alg":"RS256"})", R"({"other":1,"it":)" + json + "}");
        const auto found = token.Claims().find("it");
        EXPECT_EQ(found != token.Claims().end() ? std::optional(found->second) : std::nullopt, text) << json;
    }
}

TEST(Jwt, RefusesWhatIsNoToken)
{
    const Text header = Segment(R"({"alg":"RS256"})"), claims = Segment(R"({"b":"???>>>"})");
    ASSERT_NE(claims.find_first_of("-_"), Text::npos);
    const Text noSignature = header + '.' + claims;
    const CapturedLog log;
    for (const Text& text : {Text(), header, noSignature}) {
        EXPECT_EQ(Jwt(text).Validate(), JwtError::JWT_FORMAT_ERROR) << text;
    }
    EXPECT_EQ(CapturedLog::LinesOf("JwtUtils::Jwt", "ParseJwtString: Invalid JWT").at(1), "3 : " + header);
    for (const Text& json : {Text("{}"), Text(R"({"e":[]})"), Text(R"(["iss"])"), Text("7"), Text("{"),
                             Text(2000, '[') + Text(2000, ']'), Text()}) {
        EXPECT_EQ(Jwt(Segment(json) + '.' + claims + '.').Validate(), JwtError::JSON_PARSE_ERROR) << json;
        EXPECT_EQ(Jwt(header + '.' + Segment(json) + '.').Validate(), JwtError::JSON_PARSE_ERROR) << json;
    }
    EXPECT_FALSE(Jwt(noSignature + "!.").IsValid());
    EXPECT_EQ(Jwt(noSignature + "=.a.b").Validate(), JwtError::NO_ERROR);
}

TEST(Jwt, ReadsTimesByTheirLeadingDigits)
{
    const auto timeOf = [](const Text& json) { return TokenOf(R"({"alg":1})", R"({"exp":)" + json + '}').Exp(); };
    const std::pair<const char*, std::int64_t> cases[] = {
        {"4102444800", 4102444800},
        {"1.7e9", 1700000000},
        {"1700000000.5", 1700000000},
        {"\"-12h\"", -12},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
    };
    for (const auto& [json, number] : cases) {
        EXPECT_EQ(timeOf(json), number);
    }
    EXPECT_THROW(timeOf("9223372036854775808"), std::out_of_range);
    EXPECT_THROW(timeOf("\"soon\""), std::invalid_argument);
    EXPECT_THROW(timeOf("null"), std::invalid_argument);
}

TEST(Jwt, HasExpired_ByItsTimesAndTheLeeway)
{
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr auto kGood = JwtError::NO_ERROR, kLate = JwtError::JWT_PAST_EXPIRATION, kEarly = JwtError::JWT_BEFORE_NBF;
    // The claims "exp" and "nbf", the leeway, the time, and what comes of them.
    const std::tuple<std::int64_t, std::int64_t, std::int64_t, std::int64_t, JwtError> cases[] = {
        {0, 0, 0, kMax, kGood},
        {0, 0, 0, -1, kGood},
        {1000, 3000, 0, 2000, kLate},
        {1000, 0, 0, 999, kGood},
        {1000, 0, 0, 1000, kLate},
        {1000, 0, 60, 1059, kGood},
        {1000, 0, 60, 1060, kLate},
        {0, 1000, 0, 1000, kGood},
        {0, 1000, 0, 999, kEarly},
        {0, 1000, 60, 940, kGood},
        {0, 1000, 60, 939, kEarly},
        {1LL << 32, 0, 0, 5, kGood},
        {1LL << 32, 0, 0, 1LL << 32, kLate},
        {kMax - 9, 0, 60, kMax - 1, kGood},
        {kMin, 0, -60, kMin, kLate},
        {0, kMin, 60, kMin, kGood},
        {0, kMax, kMin, kMax - 1, kEarly},
        {0, -1, kMin, kMax - 1, kEarly},
        {0, -1, kMin, kMax, kGood},
    };
    const CryptoKey::PublicKey key = MakeKey(NID_X9_62_prime256v1);
    const auto verified = [&key](const Text& claims) {
        Jwt token(MakeToken("ES256", claims, key, CryptoKey::DigestType::SHA256));
        EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
        return token;
    };
    for (const auto& [exp, nbf, leeway, now, result] : cases) {
        const Text claims = R"({"exp":)" + std::to_string(exp) + R"(,"nbf":)" + std::to_string(nbf) + '}';
        EXPECT_EQ(verified(claims).HasExpired(leeway, now), result) << claims << ' ' << leeway << ' ' << now;
    }
    EXPECT_EQ(verified(R"({"exp":1000})").HasExpired(0), kLate);
    EXPECT_EQ(verified(R"({"iss":"joe"})").HasExpired(0), kGood);
    EXPECT_THROW(verified(R"({"exp":"soon"})").HasExpired(0), std::invalid_argument);
}
