#include "CapturedLog.h"

#include "DPrint.h"
#include "TemporaryFolder.h"

#include <regex>

CapturedLog::CapturedLog(int threshold)
{
    WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", "{\"threshold\":" + std::to_string(threshold) + "}");
    DPrint::Initialize();
    testing::internal::CaptureStderr();
}

std::vector<std::string> CapturedLog::LinesOf(const std::string& logger, const std::string& start)
{
    const std::string log = testing::internal::GetCapturedStderr();
    const std::regex pattern("(\\d) " + logger + ": " + start + "(.*)");
    std::vector<std::string> lines;
    for (std::sregex_iterator line(log.begin(), log.end(), pattern), end; line != end; ++line) {
        lines.push_back(line->str(1) + " " + line->str(2));
    }
    return lines;
}

std::string CapturedLog::TextOf(const std::string& logger, const std::string& start)
{
    std::string text = "\n";
    for (const std::string& line : LinesOf(logger, start)) {
        text += line + "\n";
    }
    return text;
}

void ExpectLines(const std::string& logger, const std::vector<testing::Matcher<std::string>>& lines,
                 const std::function<void()>& operation)
{
    const CapturedLog log;
    operation();
    EXPECT_THAT(CapturedLog::LinesOf(logger), testing::ElementsAreArray(lines));
}
