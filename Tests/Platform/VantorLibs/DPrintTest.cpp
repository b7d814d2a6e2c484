#include "DPrint.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <thread>
#include <tuple>
#include <vector>

#include "TemporaryFolder.h"

namespace
{
const DPrint s_log("Logger");
const DPrint s_other("Other");

/** The lines that have been written since CaptureStderr. */
std::vector<std::string> CapturedLines()
{
    std::vector<std::string> lines;
    std::istringstream stream(testing::internal::GetCapturedStderr());
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}
} // namespace

TEST(DPrint, WritesALineOfEitherForm_AndKeepsItOneLine)
{
    testing::internal::CaptureStderr();
    s_log.Log(3, "%s: %d of %s\n", "Operation", 1, "them");
    std::ostringstream line;
    s_log.Prefix(line, 1, "Operation") << "text " << 2;
    s_log.Put(line);
    s_log.LogWarning("an answer\r\nwith a forged line\x1b[2J\n");
    s_log.Log(4, "too much");
    const auto lines = CapturedLines();

    const std::string start = R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \d+ )";
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(start + "3 Logger: Operation: 1 of them"))) << lines[0];
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(start + "1 Logger: Operation: text 2"))) << lines[1];
    const std::regex escaped(start + R"(2 Logger: an answer\\r\\nwith a forged line\\x1b\[2J)");
    EXPECT_TRUE(std::regex_match(lines[2], escaped)) << lines[2];
}

TEST(DPrint, TakesThresholdsFromItsFile)
{
    const std::tuple<const char*, int, int, bool> cases[] = {
        {R"({"threshold": 1})", 1, 1, true},
        {R"({"loggers": {"Other": 6}})", 3, 6, true},
        {R"({"threshold": 0, "loggers": {"Other": 4, "Unknown": 2}})", 0, 4, true},
        {R"({"threshold": "high"})", 3, 3, false},
        {R"({"loggers": ["Other"]})", 3, 3, false},
        {R"({"threshold": )", 3, 3, false},
        {"{}", 3, 3, true},
    };
    for (const auto& [configuration, threshold, ofOther, isUsable] : cases) {
        SCOPED_TRACE(configuration);
        WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", configuration);
        testing::internal::CaptureStderr();
        DPrint::Initialize();
        const std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_EQ(complaint.find("DPrintCfg.json is not usable") == std::string::npos, isUsable) << complaint;
        EXPECT_TRUE(s_log.IsLog(threshold) && !s_log.IsLog(threshold + 1));
        EXPECT_TRUE(s_other.IsLog(ofOther) && !s_other.IsLog(ofOther + 1));
    }
}

TEST(DPrint, NeverMixesTheLinesOfThreads)
{
    constexpr std::size_t kLines = 500;
    const std::string longText = "<" + std::string(3000, 'x') + ">";
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads(4);
    for (auto& thread : threads) {
        thread = std::thread([&longText] {
            for (std::size_t line = 0; line < kLines; ++line) {
                s_log.Log(1, "%s", longText.c_str());
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto lines = CapturedLines();
    EXPECT_EQ(lines.size(), threads.size() * kLines);
    for (const auto& line : lines) {
        ASSERT_EQ(line.substr(line.find('<')), longText);
    }
}
