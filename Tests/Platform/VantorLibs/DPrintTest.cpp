#include "DPrint.h"
#include "Memory.h"
#include "Sanitized.h"
#include "Texts.h"
#include "WallClock.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>
#include <thread>

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

TEST(DPrint, EitherForm_IsOneLine)
{
    testing::internal::CaptureStderr();
    s_log.Log(3, "%s: %d of %s\n", "Operation", 1, "them");
    std::ostringstream line;
    s_log.Prefix(line, 1, "Operation") << "text " << 2;
    s_log.Put(line);
    s_log.LogWarning("an answer\r\nwith a forged line\x1b[2J\n");
    s_log.Log(4, "too much");
    const auto lines = CapturedLines();

    const std::string expected[] = {"3 Logger: Operation: 1 of them", "1 Logger: Operation: text 2",
                                    R"(2 Logger: an answer\\r\\nwith a forged line\\x1b\[2J)"};
    ASSERT_EQ(lines.size(), std::size(expected));
    for (std::size_t at = 0; at < lines.size(); ++at) {
        const std::regex pattern(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \d+ )" + expected[at]);
        EXPECT_TRUE(std::regex_match(lines[at], pattern)) << lines[at];
    }
}

TEST(DPrint, Line_BeginsWithThePresentTime)
{
    testing::internal::CaptureStderr();
    s_log.Log(3, "first");
    const std::int64_t before = WallClock::Seconds();
    while (WallClock::Seconds() == before) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    s_log.Log(3, "in another second");
    const std::string after = WallClock::Text("%FT%T", WallClock::Seconds());
    const auto lines = CapturedLines();
    EXPECT_GT(lines.at(1), WallClock::Text("%FT%TZ", before));
    EXPECT_LE(lines.at(1).substr(0, after.size()), after);
}

TEST(DPrint, LongLine_IsCutBetweenCharactersAndEscapes)
{
    const std::string e = "\xc3\xa9";
    const std::string kiss = "\xf0\x9f\x98\x98";
    // Beside the level, the names and the operation there is room for 8170 bytes.
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"\n\n", "\\n"},
        {"\x01\x1b\x7f\t~", "\\x01\\x1b\\x7f\t~"},
        {"\xc2\x80\xc2\x9b\xc2\x9f\xc2\xa0" + e + kiss, "\\u0080\\u009b\\u009f\xc2\xa0" + e + kiss},
        {"\x9b\xc3(\xed\xa0\x80\xc2", "\\x9b\\xc3(\\xed\\xa0\\x80\\xc2"},
        {std::string(8170, 'x'), std::string(8170, 'x')},
        {std::string(8170, 'x') + "\n", std::string(8170, 'x')},
        {std::string(8171, 'x'), std::string(8170, 'x') + "... (1 bytes more)"},
        {std::string(16 << 20, 'x'), std::string(8170, 'x') + "... (16769046 bytes more)"},
        {std::string(16 << 20, '\x01'), Repeated("\\x01", 2042) + "... (16775174 bytes more)"},
        {"x" + Repeated(e, 5000), "x" + Repeated(e, 4084) + "... (1832 bytes more)"},
        {"xxx" + Repeated(kiss, 3000), "xxx" + Repeated(kiss, 2041) + "... (3836 bytes more)"},
        {"x" + Repeated("\xc2\x9b", 2000), "x" + Repeated("\\u009b", 1361) + "... (1278 bytes more)"},
        {std::string(8169, 'x') + "\xc3", std::string(8169, 'x') + "... (1 bytes more)"},
    };
    for (const auto& [text, written] : cases) {
        testing::internal::CaptureStderr();
        s_log.Log(3, "Operation7: %s", text.c_str());
        std::ostringstream line;
        s_log.Prefix(line, 3, "left over");
        s_log.Prefix(line, 3, "Operation7") << text;
        s_log.Put(line);
        const auto lines = CapturedLines();
        ASSERT_EQ(lines.size(), 2U);
        for (const std::string& each : lines) {
            const std::string rest = each.substr(each.find("on7: ") + 5);
            EXPECT_TRUE(rest == written) << rest.size() << " " << rest.substr(0, 40);
        }
    }
}

TEST(DPrint, HugeText_CostsNoMemory)
{
    SKIP_IF_SANITIZED("a sanitizer's memory is not the program's");
    const std::string huge(32 << 20, '\x01');
    const long before = Memory();
    s_log.Log(1, "%s", huge.c_str());
    std::ostringstream line;
    s_log.Prefix(line, 1, "Operation") << huge << huge.c_str();
    s_log.Put(line);
    EXPECT_LT(Memory() - before, 1024) << "KiB";
}

TEST(DPrint, Thresholds_ComeFromTheFile)
{
    const struct
    {
        const char* configuration;
        int threshold, ofOther;
        bool isUsable;
    } cases[] = {
        {R"({"threshold": 1})", 1, 1, true},
        {R"({"loggers": {"Other": 6}})", 3, 6, true},
        {R"({"threshold": 0, "loggers": {"Other": 4, "Unknown": 2}})", 0, 4, true},
        {R"({"threshold": "high"})", 3, 3, false},
        {R"({"loggers": {"Other": null}})", 3, 3, false},
        {R"({"loggers": ["Other"]})", 3, 3, false},
        {R"({"threshold": )", 3, 3, false},
        {"{}", 3, 3, true},
    };
    for (const auto& each : cases) {
        WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", each.configuration);
        testing::internal::CaptureStderr();
        DPrint::Initialize();
        const std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_EQ(complaint.find("DPrintCfg.json is not usable") == std::string::npos, each.isUsable) << complaint;
        EXPECT_TRUE(s_log.IsLog(each.threshold) && !s_log.IsLog(each.threshold + 1)) << each.configuration;
        EXPECT_TRUE(s_other.IsLog(each.ofOther) && !s_other.IsLog(each.ofOther + 1)) << each.configuration;
    }
}

TEST(DPrint, LinesOfThreads_AreNeverMixed)
{
    constexpr std::size_t kLines = 500;
    const std::string longText = "<" + std::string(3000, 'x') + ">";
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    while (threads.size() < 4) {
        threads.emplace_back([&longText] {
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
    EXPECT_THAT(lines, testing::Each(testing::EndsWith("Logger: " + longText)));
}
