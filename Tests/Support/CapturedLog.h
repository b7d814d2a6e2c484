#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

/** Has every logger write its lines down to `threshold`, and takes them in from here on. */
class CapturedLog
{
public:
    explicit CapturedLog(int threshold = 6);

    /** Ends the capture: of each line of that logger that goes on like this, its level and the rest of its text. */
    static std::vector<std::string> LinesOf(const std::string& logger, const std::string& start = {});

    /** The same as one text: a line feed, and each line with one. */
    static std::string TextOf(const std::string& logger, const std::string& start = {});
};

/** Runs the operation; the running test fails when that logger writes other lines than such. */
void ExpectLines(const std::string& logger, const std::vector<testing::Matcher<std::string>>& lines,
                 const std::function<void()>& operation);
