#include "DPrint.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "TemporaryFolder.h"

namespace
{
const DPrint s_log("Logger");
const DPrint s_other("Other");

std::string Configured(const std::string& configuration)
{
    WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", configuration);
    testing::internal::CaptureStderr();
    DPrint::Initialize();
    return testing::internal::GetCapturedStderr();
}

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
} // namespace

TEST(DPrint, WritesALineOfEitherForm)
{
    testing::internal::CaptureStderr();
    s_log.Log(3, "%s: %d of %s\n", "Operation", 1, "them");
    std::ostringstream line;
    s_log.Prefix(line, 1, "Operation") << "text " << 2;
    s_log.Put(line);
    s_log.LogWarning("warned");
    const auto lines = Lines(testing::internal::GetCapturedStderr());

    const std::string start = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \d+ )";
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(start + "3 Logger: Operation: 1 of them"))) << lines[0];
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(start + "1 Logger: Operation: text 2"))) << lines[1];
    EXPECT_TRUE(std::regex_match(lines[2], std::regex(start + "2 Logger: warned"))) << lines[2];
}

TEST(DPrint, TakesThresholdsFromItsFile)
{
    const struct
    {
        const char* configuration;
        int threshold;
        int ofOther;
        const char* complaint;
    } cases[] = {
        {R"({"threshold": 1})", 1, 1, ""},
        {R"({"loggers": {"Other": 6}})", 3, 6, ""},
        {R"({"threshold": 0, "loggers": {"Other": 4, "Unknown": 2}})", 0, 4, ""},
        {R"({"threshold": "high"})", 3, 3, "DPrintCfg.json is not usable"},
        {R"({"loggers": ["Other"]})", 3, 3, "DPrintCfg.json is not usable"},
        {R"({"threshold": )", 3, 3, "DPrintCfg.json is not usable"},
        {"{}", 3, 3, ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.configuration);
        const std::string complaint = Configured(each.configuration);
        EXPECT_TRUE(s_log.IsLog(each.threshold));
        EXPECT_FALSE(s_log.IsLog(each.threshold + 1));
        EXPECT_TRUE(s_other.IsLog(each.ofOther));
        EXPECT_FALSE(s_other.IsLog(each.ofOther + 1));
        EXPECT_EQ(complaint.empty(), *each.complaint == '\0');
        EXPECT_NE(complaint.find(each.complaint), std::string::npos);
    }
}

TEST(DPrint, KeepsALineOneLine)
{
    testing::internal::CaptureStderr();
    s_log.Log(1, "%s", "an answer\r\nwith a forged line\x1b[2J\n");
    const auto lines = Lines(testing::internal::GetCapturedStderr());
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_NE(lines[0].find(R"(an answer\r\nwith a forged line\x1b[2J)"), std::string::npos) << lines[0];
}

TEST(DPrint, NeverMixesTheLinesOfThreads)
{
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const std::string longText(3000, 'x');
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&longText] {
            for (int line = 0; line < kLines; ++line) {
                s_log.Log(1, "<%s>", longText.c_str());
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto lines = Lines(testing::internal::GetCapturedStderr());
    EXPECT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    for (const auto& line : lines) {
        ASSERT_EQ(line.substr(line.find('<')), "<" + longText + ">");
    }
}
