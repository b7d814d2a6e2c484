#include "CapturedLog.h"

#include "DPrint.h"
#include "TemporaryFolder.h"

#include <regex>
#include <sstream>

CapturedLog::CapturedLog(int threshold)
{
    WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", "{\"threshold\":" + std::to_string(threshold) + "}");
    DPrint::Initialize();
    testing::internal::CaptureStderr();
}

std::vector<std::string> CapturedLog::LinesOf(const std::string& logger, const std::string& start)
{
    std::istringstream log(testing::internal::GetCapturedStderr());
    // Not to the line's end: std::regex calls itself for each byte of a long line.
    const std::regex pattern("(\\d) " + logger + ": " + start);
    std::vector<std::string> lines;
    std::smatch found;
    for (std::string line; std::getline(log, line);) {
        if (std::regex_search(line, found, pattern)) {
            lines.push_back(found.str(1) + " " + found.suffix().str());
        }
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
