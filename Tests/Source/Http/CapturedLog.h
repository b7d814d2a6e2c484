#pragma once

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "DPrint.h"
#include "TemporaryFolder.h"

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

    /** Ends the capture: of each line of that logger its level and text, without the operation's name. */
    std::vector<std::string> LinesOf(const std::string& logger, const std::string& operation = {})
    {
        std::istringstream stream(testing::internal::GetCapturedStderr());
        const std::string end = " " + logger + ": " + (operation.empty() ? "" : operation + ": ");
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            const std::size_t found = line.find(end);
            if (found != std::string::npos) {
                lines.push_back(line.substr(found - 1, 2) + line.substr(found + end.size()));
            }
        }
        return lines;
    }
};
