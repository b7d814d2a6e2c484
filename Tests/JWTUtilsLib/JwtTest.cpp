#include "Jwt.h"
#include "Texts.h"
#include "TokenMaker.h"

#include <stdexcept>

using JwtUtils::Jwt;
using JwtUtils::JwtError;
using Text = std::string;

static Jwt TokenOf(const Text& header, const Text& claims)
{
    return Jwt(Segment(header) + '.' + Segment(claims) + '.');
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
    const Text lists(Jwt::kMaxDepth - 3, '['), ends(lists.size(), ']');
    const Jwt large = TokenOf(R"({"alg":1})", R"({"a":[0,)" + lists + "0" + Repeated(",0", 12000) + ends + "]}");
    EXPECT_TRUE(large.IsValid());
    EXPECT_LT(large.Claims().at("a").size(), 40 * large.Text().size());
    EXPECT_FALSE(TokenOf(R"({"alg":1})", R"({"a":[0,[[)" + lists + ends + "]]]}").IsValid());
}

TEST(Jwt, RefusesWhatIsNoToken)
{
    const Text header = Segment(R"({"alg":"RS256"})"), claims = Segment(R"({"iss":"joe"})");
    const Text noSignature = header + '.' + claims;
    for (const Text& text : {Text(), header, noSignature}) {
        EXPECT_EQ(Jwt(text).Validate(), JwtError::JWT_FORMAT_ERROR) << text;
    }
    for (const Text& json : {Text("{}"), Text(R"({"e":[]})"), Text(R"(["iss"])"), Text("{"), Text(2000, '['), Text()}) {
        EXPECT_EQ(Jwt(Segment(json) + '.' + claims + '.').Validate(), JwtError::JSON_PARSE_ERROR) << json;
        EXPECT_EQ(Jwt(header + '.' + Segment(json) + '.').Validate(), JwtError::JSON_PARSE_ERROR) << json;
    }
    EXPECT_FALSE(Jwt(noSignature + "!.").IsValid());
    EXPECT_EQ(Jwt(noSignature + "=.a.b").Validate(), JwtError::NO_ERROR);
}

TEST(Jwt, HasExpired_ByItsTimesAndTheLeeway)
{
    constexpr auto kGood = JwtError::NO_ERROR, kLate = JwtError::JWT_PAST_EXPIRATION, kEarly = JwtError::JWT_BEFORE_NBF;
    const struct
    {
        std::int64_t exp, nbf, leeway, now;
        JwtError result;
    } cases[] = {
        {0, 0, 0, INT64_MAX, kGood},
        {1000, 3000, 0, 2000, kLate},
        {1000, 0, 60, 1059, kGood},
        {1000, 0, 60, 1060, kLate},
        {0, 1000, 60, 940, kGood},
        {0, 1000, 60, 939, kEarly},
        {1LL << 32, 0, 0, 1LL << 32, kLate},
        {INT64_MAX - 9, 0, 60, INT64_MAX - 1, kGood},
        {0, INT64_MIN, 60, INT64_MIN, kGood},
    };
    Jwt hmac = TokenOf(R"({"alg":"HS256"})", R"({"exp":1})");
    EXPECT_EQ(hmac.HasExpired(0), JwtError::SIGNATURE_NOT_VERIFIED);
    EXPECT_EQ(hmac.Validate(), JwtError::INVALID_SIGNATURE_ALGORITHM);
    EXPECT_EQ(hmac.HasExpired(0), JwtError::INVALID_SIGNATURE_ALGORITHM);
    const CryptoKey::PublicKey key = MakeKey(NID_X9_62_prime256v1);
    for (const auto& [exp, nbf, leeway, now, result] : cases) {
        const Text claims = R"({"exp":)" + std::to_string(exp) + R"(,"nbf":)" + std::to_string(nbf) + '}';
        Jwt token(MakeToken("ES256", claims, key));
        EXPECT_EQ(token.VerifySignature(key), JwtError::NO_ERROR);
        EXPECT_EQ(token.HasExpired(leeway, now), result) << claims << ' ' << leeway << ' ' << now;
        EXPECT_EQ(token.HasExpired(0), token.HasExpired(0, 1800000000)) << "no case changes in this century";
    }
}
