#pragma once

#include "DPrint.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <functional>
#include <regex>

/** Has every logger write its lines down to `threshold`, and takes them in from here on. */
class CapturedLog
{
public:
    explicit CapturedLog(int threshold = 6)
    {
        WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", "{\"threshold\":" + std::to_string(threshold) + "}");
        DPrint::Initialize();
        testing::internal::CaptureStderr();
    }

    /** Ends the capture: of each line of that logger that goes on like this, its level and the rest of its text. */
    static std::vector<std::string> LinesOf(const std::string& logger, const std::string& start = {})
    {
        const std::string log = testing::internal::GetCapturedStderr();
        const std::regex pattern("(\\d) " + logger + ": " + start + "(.*)");
        std::vector<std::string> lines;
        for (std::sregex_iterator line(log.begin(), log.end(), pattern), end; line != end; ++line) {
            lines.push_back(line->str(1) + " " + line->str(2));
        }
        return lines;
    }
};

/** Runs the operation; the running test fails when that logger writes other lines than such. */
inline void ExpectLines(const std::string& logger, const std::vector<testing::Matcher<std::string>>& lines,
                        const std::function<void()>& operation)
{
    const CapturedLog log;
    operation();
    EXPECT_THAT(CapturedLog::LinesOf(logger), testing::ElementsAreArray(lines));
}
