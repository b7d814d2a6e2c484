#include "CapturedLog.h"
#include "QuillaneTokens.h"
#include "TemporaryFolder.h"
#include "TokenMaker.h"

#include <ctime>
#include <filesystem>
#include <stdexcept>

using JwtUtils::FromSeconds;

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

struct QuillaneTokensTest : testing::Test
{
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

TEST_F(QuillaneTokensTest, ReadFile_GoesByTheSideFiles_AndWriteFileStoresThem)
{
    const struct
    {
        std::string accessTime;
        std::uint32_t accessDelay; ///< at the second 1000000000
        std::string refreshTime;
        std::uint32_t refreshDelay;
    } cases[] = {
        {"1000000301" + std::string(1014, 'x'), 1, "1000000302" + std::string(1014, '\n'), 2},
        {"-1", 0, "MISSING REFRESH TOKEN", 0},
        {"9000000000x", 3705032404, "9000000001", 3705032405}, // 8000000000 less 2^32 less the margin
    };
    const std::string other = m_folder.Path() + "/a.b/other";
    EXPECT_FALSE(m_tokens.WriteFile(other)) << "there is nothing to store";
    for (const auto& each : cases) {
        WriteWholeFile(m_base + ".timestamp", each.accessTime);
        WriteWholeFile(m_base + ".refresh_token", each.refreshTime);
        EXPECT_TRUE(Read(Json("access", kHmac)) && m_tokens.IsValid());
        EXPECT_EQ(m_tokens.AccessRefreshDelay(FromSeconds(1000000000)), each.accessDelay);
        EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(1000000000)), each.refreshDelay);
    }
    EXPECT_TRUE(m_tokens.WriteFile(other));
    EXPECT_EQ(ReadWholeFile(other), Json("access", kHmac));
    EXPECT_EQ(ReadWholeFile(other + ".timestamp"), "9000000000");
    EXPECT_EQ(ReadWholeFile(other + ".refresh_token"), "9000000001");
    std::filesystem::create_directories(other + ".timestamp.tmp");
    EXPECT_TRUE(m_tokens.WriteFile(other)) << "a side file that cannot be written";
    EXPECT_FALSE(m_tokens.WriteFile(m_folder.Path() + "/no/file"));
}

TEST_F(QuillaneTokensTest, ReadFile_DoesWithoutTimes_AndWithoutARefreshToken)
{
    const auto before = std::chrono::system_clock::now() - std::chrono::seconds(1000);
    EXPECT_TRUE(Read(Json("a", kHmac)));
    EXPECT_NEAR(m_tokens.AccessRefreshDelay(before), 750, 51) << "it expires now";
    EXPECT_NEAR(m_tokens.RefreshRefreshDelay(before), 750, 51);
    EXPECT_EQ(m_tokens.AccessToken().Text() + m_tokens.RefreshToken().Alg(), "aHS256");
    EXPECT_TRUE(Read(R"({"QuillaneTokens":)" + Json("a", kNone) + "}"));
    EXPECT_EQ(ReadWholeFile(m_base + ".refresh_token"), "MISSING REFRESH TOKEN");
    EXPECT_EQ(m_tokens.RefreshToken().Text(), "");
    EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(-1000)), 700U) << "it is 0";
}

TEST_F(QuillaneTokensTest, LogsEachOperation)
{
    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    tzset();
    const std::string start = "3 ReadFile: " + m_path, reading = "3 ReadFileStr: Reading ", read = reading + m_path;
    const std::string sideFile = m_base + ".refresh_token", timeStamp = m_base + ".timestamp";
    const auto assumes = [](const std::string& beginning) {
        return testing::MatchesRegex(beginning + "\\. Assuming expiration time is now \\(.{24}\\\\n\\)\\.");
    };
    const std::string expires =
        "4 ReadFile: Authentication will expire at Sun Sep  9 06:51:41 2001\\n (refresh in 0 seconds)";
    const std::string tooLarge = "2 ReadFileStr: Failed to read file '";
    const auto readWith = [&](const std::string& refreshTime) {
        return [this, sideFile, timeStamp, refreshTime] {
            WriteWholeFile(sideFile, refreshTime);
            WriteWholeFile(timeStamp, "1000000301");
            EXPECT_TRUE(Read(Json("a", "r")));
        };
    };
    ExpectLines(
        "JwtUtils::QuillaneTokens",
        {{[&] { EXPECT_TRUE(Read(Json("a", kNone))); },
          {start, read, "3 WriteFileStr: Writing " + sideFile,
           "2 ReadFile: Refresh token not found, setting refresh m_refreshTokenExpirationTime to 0",
           reading + timeStamp, assumes("4 ReadFile: Timestamp file not found")}},
         {[&] { EXPECT_TRUE(Read(Json("a", "r"))); },
          {start, read, reading + sideFile,
           "1 Refresh timestamp file (MISSING REFRESH TOKEN) is not valid, error: (stoll)", reading + timeStamp,
           assumes("4 ReadFile: Timestamp file not found")}},
         {readWith(""),
          {start, read, reading + sideFile, assumes("1 ReadFile: Refresh timestamp file not found"),
           reading + timeStamp, expires}},
         {readWith("1"),
          {start, read, reading + sideFile, "4 ReadFile: Refresh token time stamp is 1 and (refresh in 0 seconds)",
           reading + timeStamp, expires}},
         {readWith(std::string(JwtUtils::QuillaneTokens::kMaxSideFileSize + 1, '1')),
          {start, read, reading + sideFile, tooLarge + sideFile + "': File too large", reading + timeStamp, expires}},
         {[&] { EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(-1000)), 700U) << "it is 0"; }, {}},
         {[&] { EXPECT_FALSE(Read("")); }, {start, read}},
         {[&] { EXPECT_EQ(m_tokens.Tokens().access_token(), "a") << "as before"; }, {}},
         {[&] { EXPECT_FALSE(Read(Json(std::string(JwtUtils::QuillaneTokens::kMaxTokenFileSize, 'a'), "r"))); },
          {start, read, tooLarge + m_path + "': File too large"}},
         {[&] { EXPECT_EQ(m_tokens.Tokens().access_token(), ""); }, {}},
         {[&] { EXPECT_FALSE(Read(R"({"a":1})") || m_tokens.IsValid()); },
          {start, read, testing::StartsWith("1 ReadFile: MarkupError: QuillaneTokens: "), R"(1 ReadFile: {"a":1})"}},
         {[&] { EXPECT_FALSE(m_tokens.LoadString("{")); },
          {"4 LoadString", testing::StartsWith("1 LoadString: MarkupError: QuillaneTokens: ")}},
         {[&] { EXPECT_FALSE(m_tokens.Validate()); }, {"4 Validate"}},
         {[&] { EXPECT_FALSE(m_tokens.WriteFile(m_path)); },
          {"3 WriteFile: " + m_path, testing::StartsWith("1 WriteFile: MarkupError: ")}}});
}

TEST_F(QuillaneTokensTest, ReadFile_ThrowsForABadTimeStamp_AndKeepsTheRest)
{
    WriteWholeFile(m_base + ".timestamp", "4000000000");
    EXPECT_TRUE(Read(Json("before", kNone)));
    for (const std::string& text : {std::string("never"), std::string(1025, '1')}) {
        WriteWholeFile(m_base + ".timestamp", text);
        EXPECT_THROW(Read(Json("after", kNone)), std::invalid_argument);
        EXPECT_TRUE(m_tokens.IsValid());
        EXPECT_EQ(m_tokens.AccessToken().Text(), "after");
        EXPECT_EQ(m_tokens.AccessRefreshDelay(FromSeconds(1)), 0U) << "the time before is gone";
    }
}

TEST_F(QuillaneTokensTest, LoadString_KeepsTheRefreshTokenThatTheTextDoesNotBring)
{
    EXPECT_TRUE(m_tokens.LoadString(Json(kGood, kHmac)));
    EXPECT_TRUE(m_tokens.LoadString(Json("next", kNone)) && m_tokens.IsValid());
    EXPECT_NEAR(m_tokens.AccessRefreshDelay(), 3250, 50);
    EXPECT_EQ(m_tokens.AccessToken().Text() + m_tokens.RefreshToken().Text(), "next" + kHmac);
    EXPECT_EQ(m_tokens.Tokens().refresh_token(), kHmac);
    EXPECT_TRUE(m_tokens.LoadString(Json("next", "new")));
    EXPECT_EQ(m_tokens.RefreshToken().Text(), "new");
    EXPECT_FALSE(m_tokens.LoadString("[]") || m_tokens.IsValid());
    EXPECT_EQ(m_tokens.Tokens().access_token(), "");
}

TEST_F(QuillaneTokensTest, Validate_GoesByTheTokensAndTheLifetime)
{
    EXPECT_FALSE(m_tokens.Validate());
    const std::pair<std::string, bool> cases[] = {
        {Json(kGood, kNone), true},       {Json(kGood, kGood), true},  {Json(kGood, kHmac), false},
        {Json(kGood, ""), false},         {Json(kHmac, kNone), false}, {Json("", kNone), false},
        {Json(kGood, kNone, "0"), false},
    };
    for (const auto& [json, isUsable] : cases) {
        JwtUtils::QuillaneTokens tokens;
        EXPECT_TRUE(tokens.LoadString(json));
        EXPECT_EQ(tokens.Validate(), isUsable) << json;
    }
}
