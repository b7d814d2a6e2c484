#include "CapturedLog.h"
#include "QuillaneTokens.h"
#include "TemporaryFolder.h"
#include "TokenMaker.h"
#include "TokenTimes.h"

#include <ctime>
#include <filesystem>
#include <stdexcept>

using namespace JwtUtils; // NOLINT(google-build-using-namespace): what is tested
using namespace testing;  // NOLINT(google-build-using-namespace): its matchers

const std::string kGood = Segment(R"({"alg":"ES256"})") + "." + Segment(R"({"sub":"vrd9"})") + ".";
const std::string kHmac = Segment(R"({"alg":"HS256"})") + "." + Segment(R"({"sub":"vrd9"})") + ".";
constexpr char kNone[] = "none";

static std::string Json(const std::string& access, const std::string& refresh, const std::string& lifetime = "3600")
{
    return R"({"access_token":")" + access + R"(","expires_in":)" + lifetime +
           (refresh != kNone ? R"(,"refresh_token":")" + refresh + "\"" : "") + R"(,"token_type":"bearer"})";
}

struct QuillaneTokensTest : Test
{
    bool Read(const std::string& text)
    {
        WriteWholeFile(m_path, text);
        return m_tokens.ReadFile(m_path);
    }

    const TemporaryFolder m_folder;
    const std::string m_base = m_folder.Path() + "/a.b/tokens.v1";
    const std::string m_path = m_base + ".json";
    QuillaneTokens m_tokens;
};

TEST_F(QuillaneTokensTest, ReadFile_GoesByTheSideFiles_AndWriteFileStoresThem)
{
    const std::string other = m_folder.Path() + "/a.b/other";
    EXPECT_FALSE(m_tokens.WriteFile(other)) << "there is nothing to store";
    // Delays at the second 1000000000.
    const auto expectDelays = [this](std::uint32_t accessDelay, std::uint32_t refreshDelay,
                                     const std::string& accessTime, const std::string& refreshTime) {
        WriteWholeFile(m_base + ".timestamp", accessTime);
        WriteWholeFile(m_base + ".refresh_token", refreshTime);
        EXPECT_TRUE(Read(Json("access", kHmac)) && m_tokens.IsValid());
        EXPECT_EQ(m_tokens.AccessRefreshDelay(FromSeconds(1000000000)), accessDelay);
        EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(1000000000)), refreshDelay);
    };
    expectDelays(1, 2, "1000000301" + std::string(1014, 'x'), "1000000302" + std::string(1014, '\n'));
    expectDelays(0, 0, "-1", "MISSING REFRESH TOKEN");
    // 8000000000 less 2^32 less the margin.
    expectDelays(3705032404, 3705032405, "9000000000x", "9000000001");
    EXPECT_EQ(m_tokens.AccessToken().Text() + m_tokens.RefreshToken().Alg(), "accessHS256");
    EXPECT_TRUE(m_tokens.WriteFile(other));
    EXPECT_EQ(ReadWholeFile(other), Json("access", kHmac));
    EXPECT_EQ(ReadWholeFile(other + ".timestamp"), "9000000000");
    EXPECT_EQ(ReadWholeFile(other + ".refresh_token"), "9000000001");
    std::filesystem::create_directories(other + ".timestamp.tmp");
    EXPECT_TRUE(m_tokens.WriteFile(other)) << "a side file that cannot be written";
    EXPECT_FALSE(m_tokens.WriteFile(m_folder.Path() + "/no/file"));
}

TEST_F(QuillaneTokensTest, LogsEachOperation_AndDoesWithoutTimes)
{
    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    tzset();
    // But for the lines that say which file is read or written next.
    constexpr char kLog[] = "JwtUtils::QuillaneTokens(?!: (?:Read|Write)FileStr: (?:Read|Writ)ing)";
    const std::string tooLarge = "2 ReadFileStr: Failed to read file '";
    const std::string sideFile = m_base + ".refresh_token", timeStamp = m_base + ".timestamp";
    const auto assumes = [](const std::string& beginning) {
        return MatchesRegex(beginning + "\\. Assuming expiration time is now \\(.{24}\\\\n\\)\\.");
    };
    const auto expectRead = [&](bool isRead, const std::string& json, std::vector<Matcher<std::string>> lines) {
        lines.insert(lines.begin(), "3 ReadFile: " + m_path);
        ExpectLines(kLog, lines, [&] { EXPECT_EQ(Read(json), isRead); });
    };
    const auto before = std::chrono::system_clock::now() - std::chrono::seconds(1000);
    EXPECT_TRUE(Read(Json("a", "r")));
    expectRead(true, R"({"QuillaneTokens":)" + Json("a", kNone) + "}",
               {"2 ReadFile: Refresh token not found, setting refresh m_refreshTokenExpirationTime to 0",
                assumes("4 ReadFile: Timestamp file not found")});
    EXPECT_EQ(m_tokens.RefreshToken().Text(), "");
    EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(-1000)), 700U) << "it is 0";
    expectRead(true, Json("a", "r"),
               {"1 Refresh timestamp file (MISSING REFRESH TOKEN) is not valid, error: (stoll)",
                assumes("4 ReadFile: Timestamp file not found")});
    EXPECT_NEAR(m_tokens.AccessRefreshDelay(before), 750, 51) << "it expires now";

    WriteWholeFile(timeStamp, "1000000301");
    const auto expectReadWith = [&](const std::string& refreshTime, const Matcher<std::string>& line) {
        WriteWholeFile(sideFile, refreshTime);
        expectRead(
            true, Json("a", "r"),
            {line, "4 ReadFile: Authentication will expire at Sun Sep  9 06:51:41 2001\\n (refresh in 0 seconds)"});
    };
    expectReadWith("", assumes("1 ReadFile: Refresh timestamp file not found"));
    EXPECT_NEAR(m_tokens.RefreshRefreshDelay(before), 750, 51);
    expectReadWith("1", "4 ReadFile: Refresh token time stamp is 1 and (refresh in 0 seconds)");
    expectReadWith(std::string(QuillaneTokens::kMaxSideFileSize + 1, '1'), tooLarge + sideFile + "': File too large");
    EXPECT_EQ(m_tokens.RefreshRefreshDelay(FromSeconds(-1000)), 700U) << "it is 0";

    expectRead(false, "", {});
    EXPECT_EQ(m_tokens.Tokens().access_token(), "a") << "as before";
    expectRead(false, Json(std::string(QuillaneTokens::kMaxTokenFileSize, 'a'), "r"),
               {tooLarge + m_path + "': File too large"});
    EXPECT_EQ(m_tokens.Tokens().access_token(), "");
    expectRead(false, R"({"a":1})",
               {StartsWith("1 ReadFile: MarkupError: QuillaneTokens: "), R"(1 ReadFile: {"a":1})"});
    EXPECT_FALSE(m_tokens.IsValid());
    ExpectLines(kLog, {"4 LoadString", StartsWith("1 LoadString: MarkupError: QuillaneTokens: ")},
                [&] { EXPECT_FALSE(m_tokens.LoadString("{")); });
    ExpectLines(kLog, {"4 Validate"}, [&] { EXPECT_FALSE(m_tokens.Validate()); });
    ExpectLines(kLog, {"3 WriteFile: " + m_path, StartsWith("1 WriteFile: MarkupError: ")},
                [&] { EXPECT_FALSE(m_tokens.WriteFile(m_path)); });
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
        QuillaneTokens tokens;
        EXPECT_TRUE(tokens.LoadString(json));
        EXPECT_EQ(tokens.Validate(), isUsable) << json;
    }
}

TEST(TokenTimes, AreReadComparedAndShown)
{
    constexpr std::int64_t kLastSecond = 9223372036;
    EXPECT_EQ(RefreshDelay(-kLastSecond, kLastSecond), 0U);
    EXPECT_EQ(RefreshDelay(FromSeconds(-kLastSecond), FromSeconds(kLastSecond)), 0U);
    EXPECT_EQ(RefreshDelay(FromSeconds(1302), FromSeconds(1000) + std::chrono::nanoseconds(1)), 1U) << "cut off";
    EXPECT_EQ(ToSeconds(ParseTime(" 1700000000ab")), 1700000000);
    EXPECT_EQ(ToSeconds(ParseTime("9223372036")), kLastSecond);
    EXPECT_EQ(ToSeconds(ParseTime("-9223372036")), -kLastSecond);
    for (const char* text : {"9223372037", "-9223372037", "9223372036854775808"}) {
        EXPECT_THROW(ParseTime(text), std::out_of_range) << text;
    }
    EXPECT_EQ(ParseSeconds("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(ToSeconds(Later(FromSeconds(kLastSecond - 1), UINT32_MAX)), kLastSecond);

    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    tzset();
    EXPECT_EQ(DateText(4102444800), sizeof(std::time_t) > 4 ? "Fri Jan  1 05:00:00 2100\n" : "4102444800");
    EXPECT_EQ(DateText(INT64_MAX), "9223372036854775807");
}
