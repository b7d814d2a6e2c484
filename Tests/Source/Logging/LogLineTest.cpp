#include "LogLine.h"

#include <gmock/gmock.h>

TEST(LogLine, BuildsAPartForALineThatIsWrittenOnly_AndShowsItsBeginning)
{
    const DPrint log("LogLineTest");
    int count = 0;
    const auto part = [&count] {
        ++count;
        return std::string(5000, 'x');
    };
    testing::internal::CaptureStderr();
    LogLine(log, 4, "Operation", part);
    EXPECT_EQ(count, 0);
    LogLine(log, 3, "Operation", "before ", part, " after");
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::EndsWith("before " + std::string(4096, 'x') + " (904 bytes more) after\n"));
}
