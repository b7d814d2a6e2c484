#include "CapturedLog.h"
#include "DPrint.h"
#include "Memory.h"
#include "Sanitized.h"
#include "Texts.h"
#include "WallClock.h"

#include <future>
#include <sstream>
#include <thread>

static const DPrint s_log("Logger");
static const DPrint s_other("Other");

TEST(DPrint, EitherForm_IsOneLineThatBeginsWithThePresentTime)
{
    s_log.Log(3, "in this second");
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const std::string before = WallClock::Text("%FT%T", WallClock::Seconds());
    testing::internal::CaptureStderr();
    s_log.Log(3, "%s: %d of %s\n", "Operation", 1, "them");
    std::ostringstream line;
    s_log.Prefix(line, 1, "Operation") << "text " << 2;
    s_log.Put(line);
    s_log.LogWarning("an answer\r\nwith a forged line\x1b[2J\n");
    s_log.Log(4, "too much");
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_GE(lines, before);
    EXPECT_LE(lines.substr(0, before.size()), WallClock::Text("%FT%T", WallClock::Seconds()));
    const std::string begin = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z [0-9]+ ";
    EXPECT_THAT(lines, testing::MatchesRegex(begin + "3 Logger: Operation: 1 of them\n" + begin +
                                             "1 Logger: Operation: text 2\n" + begin +
                                             "2 Logger: an answer\\\\r\\\\nwith a forged line\\\\x1b\\[2J\n"));
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
        {std::string(8170, 'x') + "\n", std::string(8170, 'x')},
        {std::string(8171, 'x'), std::string(8170, 'x') + "... (1 bytes more)"},
        {std::string(16 << 20, '\x01'), Repeated("\\x01", 2042) + "... (16775174 bytes more)"},
        {"x" + Repeated(e, 5000), "x" + Repeated(e, 4084) + "... (1832 bytes more)"},
        {"xxx" + Repeated(kiss, 3000), "xxx" + Repeated(kiss, 2041) + "... (3836 bytes more)"},
        {"x" + Repeated("\xc2\x9b", 2000), "x" + Repeated("\\u009b", 1361) + "... (1278 bytes more)"},
        {std::string(8169, 'x') + "\xc3", std::string(8169, 'x') + "... (1 bytes more)"},
    };
    for (const auto& [text, written] : cases) {
        const CapturedLog log(3);
        s_log.Log(3, "Operation7: %s", text.c_str());
        std::ostringstream line;
        s_log.Prefix(line, 3, "left over");
        s_log.Prefix(line, 3, "Operation7") << text;
        s_log.Put(line);
        const auto lines = CapturedLog::LinesOf("Logger", "Operation7: ");
        EXPECT_TRUE(lines == std::vector(2, "3 " + written)) << lines[0].size() << " " << lines[0].substr(0, 40);
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
    const auto expect = [](const char* configuration, int threshold, int ofOther, bool isUsable) {
        WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", configuration);
        testing::internal::CaptureStderr();
        DPrint::Initialize();
        const std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_EQ(complaint.find("DPrintCfg.json is not usable") == std::string::npos, isUsable) << complaint;
        EXPECT_TRUE(s_log.IsLog(threshold) && !s_log.IsLog(threshold + 1)) << configuration;
        EXPECT_TRUE(s_other.IsLog(ofOther) && !s_other.IsLog(ofOther + 1)) << configuration;
    };
    expect(R"({"threshold": 1})", 1, 1, true);
    expect(R"({"loggers": {"Other": 6}})", 3, 6, true);
    expect(R"({"threshold": 0, "loggers": {"Other": 4, "Unknown": 2}})", 0, 4, true);
    expect(R"({"threshold": "high"})", 3, 3, false);
    expect(R"({"loggers": {"Other": null}})", 3, 3, false);
    expect(R"({"loggers": ["Other"]})", 3, 3, false);
    expect(R"({"threshold": )", 3, 3, false);
    expect("{}", 3, 3, true);
}

TEST(DPrint, LinesOfThreads_AreNeverMixed)
{
    constexpr std::size_t kLines = 500;
    const std::string longText = "<" + std::string(3000, 'x') + ">";
    const CapturedLog log;
    const auto write = [&longText] {
        for (std::size_t line = 0; line < kLines; ++line) {
            s_log.Log(1, "%s", longText.c_str());
        }
    };
    const auto other = std::async(std::launch::async, write);
    write();
    other.wait();
    EXPECT_TRUE(CapturedLog::LinesOf("Logger") == std::vector(2 * kLines, "1 " + longText));
}
