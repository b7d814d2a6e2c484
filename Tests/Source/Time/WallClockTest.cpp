#include "WallClock.h"

#include <gtest/gtest.h>

#include <limits>

TEST(WallClock, TellsTimesBeyondThoseOfA32BitTime)
{
    const auto expect = [](std::int64_t reading, std::int64_t time, const std::string& text) {
        EXPECT_EQ(WallClock::Unwrapped(WallClock::TimePoint(std::chrono::seconds(reading))).time_since_epoch(),
                  std::chrono::seconds(time));
        EXPECT_EQ(WallClock::Text("%FT%T", time), text);
    };
    expect(951782400, 951782400, "2000-02-29T00:00:00");
    expect(951868800, 951868800, "2000-03-01T00:00:00");
    expect(std::numeric_limits<std::int32_t>::max(), 2147483647, "2038-01-19T03:14:07");
    expect(std::numeric_limits<std::int32_t>::min(), 2147483648, "2038-01-19T03:14:08");
    expect(2147483648, 2147483648, "2038-01-19T03:14:08");
    expect(-187424896, 4107542400, "2100-03-01T00:00:00"); // 2100 is no leap year
    expect(-1, 4294967295, "2106-02-07T06:28:15");
    EXPECT_EQ(WallClock::Text("%Y%m%d", -1), "19691231");
}
