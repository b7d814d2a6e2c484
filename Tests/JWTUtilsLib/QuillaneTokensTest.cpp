#include "QuillaneTokens.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <tuple>

#include "CapturedLog.h"
#include "TemporaryFolder.h"
#include "TokenMaker.h"

using JwtUtils::FromSeconds;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers

namespace
{
const std::string kGood = Segment(R"({"alg":"ES256"})") + "." + Segment(R"({"sub":"vrd9"})") + ".";
const std::string kHmac = Segment(R"({"alg":"HS256"})") + "." + Segment(R"({"sub":"vrd9"})") + ".";
constexpr char kNone[] = "none";

std::string Json(const std::string& access, const std::string& refresh, const std::string& lifetime = "3600")
{
    return R"({"access_token":")" + access + R"(","expires_in":)" + lifetime +
           (refresh != kNone ? R"(,"refresh_token":")" + refresh + "\"" : "") + R"(,"token_type":"bearer"})";
}

struct QuillaneTokens : Test
{
    QuillaneTokens() { setenv("TZ", "UTC", 1); } // NOLINT(concurrency-mt-unsafe): before there is another thread

    static std::vector<std::string> Lines() { return CapturedLog::LinesOf("JwtUtils::QuillaneTokens"); }

    bool Read(const std::string& text)
    {
        WriteWholeFile(m_path, text);
        return m_tokens.ReadFile(m_path);
    }

    const TemporaryFolder m_folder;
    const std::string m_base = m_folder.Path() + "/a.b/tokens.v1";
    const std::string m_path = m_base + ".json";
    JwtUtils::QuillaneTokens m_tokens;
};
} // namespace

TEST(SideFile, IsNamedAfterTheTokenFile)
{
    for (const auto& [path, side] : {std::pair("/nv/jwt.1.json", "/nv/jwt.1.x"), std::pair("jwt.json", "jwt.x"),
                                     std::pair("/a.b/token", "/a.b/token.x"), std::pair("token", "token.x")}) {
        EXPECT_EQ(JwtUtils::SideFile(path, ".x"), side);
    }
}

TEST_F(QuillaneTokens, ReadFile_GoesByTheSideFiles)
{
    const std::string refresh = "4 ReadFile: Refresh token time stamp is ";
    const std::string access = "4 ReadFile: Authentication will expire at ";
    const struct
    {
        std::string timeStamp, refreshTime;
        std::uint32_t accessDelay, refreshDelay; ///< at the second 1000000000
        std::string accessLine, refreshLine;
    } cases[] = {
        {"1000000301", "1000000302\nmore", 1, 2, access + "Sun Sep  9 01:51:41 2001 (refresh in 0 seconds)",
         refresh + R"(1000000302\nmore and (refresh in 0 seconds))"},
        {"9000000000x", "9000000000", 4294967295, 4294967295,
         access + "Wed Mar 14 16:00:00 2255 (refresh in 4294967295 seconds)",
         refresh + "9000000000 and (refresh in 4294967295 seconds)"},
        {"-1", "MISSING REFRESH TOKEN", 0, 0, access + "Wed Dec 31 23:59:59 1969 (refresh in 0 seconds)",
         "1 Refresh timestamp file (MISSING REFRESH TOKEN) is not valid, error: (stoll)"},
    };
    for (const auto& each : cases) {
        WriteWholeFile(m_base + ".timestamp", each.timeStamp);
        WriteWholeFile(m_base + ".refresh_token", each.refreshTime);
        const CapturedLog log;
        EXPECT_TRUE(Read(Json("access", kHmac)) && m_tokens.IsValid());
        EXPECT_THAT(Lines(), ElementsAre("3 ReadFile: " + m_path, "3 ReadFileStr: Reading " + m_path,
                                         "3 ReadFileStr: Reading " + m_base + ".refresh_token", each.refreshLine,
                                         "3 ReadFileStr: Reading " + m_base + ".timestamp", each.accessLine));
        EXPECT_EQ(m_tokens.AccessRefreshDelay(FromSeconds(1000000000)), each.accessDelay);
        EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(1000000000)), each.refreshDelay);
    }
    EXPECT_EQ(m_tokens.AccessToken().Text(), "access");
    EXPECT_EQ(m_tokens.RefreshToken().Alg(), "HS256");
}

TEST_F(QuillaneTokens, ReadFile_TakesNowForATimeThatIsMissing)
{
    const auto start = std::chrono::system_clock::now();
    const CapturedLog log;
    EXPECT_TRUE(Read(Json("a", "r")));
    const std::string text = R"(imestamp file not found\. Assuming expiration time is now \(\w+ .* \w+\)\.)";
    EXPECT_THAT(Lines(), AllOf(Contains(MatchesRegex("1 ReadFile: Refresh t" + text)),
                               Contains(MatchesRegex("4 ReadFile: T" + text))));
    for (const auto& [before, least, most] : {std::tuple(1000, 699U, 720U), std::tuple(-20, 0U, 0U)}) {
        const auto now = start - std::chrono::seconds(before);
        EXPECT_THAT(m_tokens.AccessRefreshDelay(now), AllOf(Ge(least), Le(most)));
        EXPECT_THAT(m_tokens.RefreshRefreshDelay(now), AllOf(Ge(least), Le(most)));
    }
}

TEST_F(QuillaneTokens, ReadFile_ThrowsForABadTimeStamp_AndKeepsTheRest)
{
    for (const char* text : {"never", "9223372037"}) {
        WriteWholeFile(m_base + ".timestamp", "4000000000");
        EXPECT_TRUE(Read(Json("before", "refresh")));
        WriteWholeFile(m_base + ".timestamp", text);
        EXPECT_THROW(Read(Json(text, kNone)), std::logic_error) << text;
        EXPECT_TRUE(m_tokens.IsValid());
        EXPECT_EQ(m_tokens.Tokens().access_token(), text);
        EXPECT_EQ(m_tokens.AccessRefreshDelay(FromSeconds(1)), 0U) << "the time before is gone";
    }
}

TEST_F(QuillaneTokens, ReadFile_NotesThatThereIsNoRefreshToken)
{
    EXPECT_TRUE(Read(Json("a", "r")));
    const CapturedLog log;
    EXPECT_TRUE(Read(R"({"QuillaneTokens":)" + Json("a", kNone) + "}"));
    EXPECT_THAT(Lines(), Contains("2 ReadFile: Refresh token not found, setting refresh "
                                  "m_refreshTokenExpirationTime to 0"));
    EXPECT_EQ(ReadWholeFile(m_base + ".refresh_token"), "MISSING REFRESH TOKEN");
    EXPECT_EQ(m_tokens.RefreshToken().Text(), "");
    EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(-1000)), 700U) << "it is 0";
}

TEST_F(QuillaneTokens, ReadFile_RefusesWhatIsNoTokenFile)
{
    const std::string large = Json(std::string(JwtUtils::QuillaneTokens::kMaxTokenFileSize, 'a'), "r");
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", "3 ReadFile: ", "3 ReadFileStr: "},
        {R"({"a":1})", "1 ReadFile: MarkupError: QuillaneTokens: ", R"(1 ReadFile: {"a":1})"},
        {large, "3 ReadFileStr: ", "1 ReadFile: " + m_path + " is no token file"},
    };
    for (const auto& [text, lineBeforeLast, lastLine] : cases) {
        EXPECT_TRUE(Read(Json(kGood, kNone)));
        const CapturedLog log;
        EXPECT_FALSE(Read(text) || m_tokens.IsValid());
        const auto lines = Lines();
        EXPECT_THAT(lines.at(lines.size() - 2), StartsWith(lineBeforeLast));
        EXPECT_THAT(lines.back(), StartsWith(lastLine));
        EXPECT_EQ(m_tokens.Tokens().access_token(), text.empty() ? kGood : "");
    }
}

TEST_F(QuillaneTokens, LoadString_KeepsTheRefreshTokenThatTheTextDoesNotBring)
{
    EXPECT_TRUE(m_tokens.LoadString(Json(kGood, kHmac)));
    const auto start = std::chrono::system_clock::now();
    const CapturedLog log;
    EXPECT_TRUE(m_tokens.LoadString(Json("next", kNone)) && m_tokens.IsValid());
    EXPECT_THAT(Lines(), ElementsAre("4 LoadString", StartsWith("4 LoadString: Authentication will expire at ")));
    EXPECT_THAT(m_tokens.AccessRefreshDelay(start), AllOf(Ge(3299U), Le(3320U)));
    EXPECT_EQ(m_tokens.AccessToken().Text() + m_tokens.RefreshToken().Text(), "next" + kHmac);
    EXPECT_EQ(m_tokens.Tokens().refresh_token(), kHmac);
    EXPECT_TRUE(m_tokens.LoadString(Json("next", "new")));
    EXPECT_EQ(m_tokens.RefreshToken().Text(), "new");
    EXPECT_FALSE(m_tokens.LoadString("[]") || m_tokens.IsValid());
}

TEST_F(QuillaneTokens, WriteFile_StoresAllThree)
{
    const std::string other = m_folder.Path() + "/other";
    EXPECT_FALSE(m_tokens.WriteFile(other)) << "there is nothing to store";
    WriteWholeFile(m_base + ".timestamp", "1999999999");
    WriteWholeFile(m_base + ".refresh_token", "-7");
    EXPECT_TRUE(Read(Json("a", "r")));
    EXPECT_TRUE(m_tokens.WriteFile(other));
    EXPECT_EQ(ReadWholeFile(other), Json("a", "r"));
    EXPECT_EQ(ReadWholeFile(other + ".timestamp"), "1999999999");
    EXPECT_EQ(ReadWholeFile(other + ".refresh_token"), "-7");
    std::filesystem::create_directories(other + ".timestamp.tmp");
    EXPECT_TRUE(m_tokens.WriteFile(other)) << "a side file that cannot be written";
    EXPECT_FALSE(m_tokens.WriteFile(m_folder.Path() + "/no/file"));
}

TEST_F(QuillaneTokens, Validate_GoesByTheTokensAndTheLifetime)
{
    EXPECT_FALSE(m_tokens.Validate());
    const std::pair<std::string, bool> cases[] = {
        {Json(kGood, kNone), true},    {Json(kGood, kGood), true},       {Json(kGood, kHmac), false},
        {Json(kGood, ""), false},      {Json(kHmac, kNone), false},      {Json("", kNone), false},
        {Json("a.b.c", kGood), false}, {Json(kGood, kNone, "0"), false},
    };
    for (const auto& [json, isUsable] : cases) {
        JwtUtils::QuillaneTokens tokens;
        EXPECT_TRUE(tokens.LoadString(json));
        EXPECT_EQ(tokens.Validate(), isUsable) << json;
    }
}
