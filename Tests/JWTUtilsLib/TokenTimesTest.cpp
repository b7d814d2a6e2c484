#include "TokenTimes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <stdexcept>

using namespace JwtUtils; // NOLINT(google-build-using-namespace): what is tested

constexpr std::int64_t kLastSecond = 9223372036;

TEST(TokenTimes, AreReadComparedAndShown)
{
    EXPECT_EQ(RefreshDelay(-kLastSecond, kLastSecond), 0U);
    EXPECT_EQ(RefreshDelay(FromSeconds(-kLastSecond), FromSeconds(kLastSecond)), 0U);
    EXPECT_EQ(RefreshDelay(FromSeconds(1302), FromSeconds(1000) + std::chrono::nanoseconds(1)), 1U) << "cut off";
    EXPECT_EQ(ToSeconds(ParseTime(" 1700000000ab")), 1700000000);
    EXPECT_EQ(ToSeconds(ParseTime("9223372036")), kLastSecond);
    EXPECT_EQ(ToSeconds(ParseTime("-9223372036")), -kLastSecond);
    for (const char* text : {"9223372037", "-9223372037", "9223372036854775808"}) {
        EXPECT_THROW(ParseTime(text), std::out_of_range) << text;
    }
    EXPECT_THROW(ParseTime("abc1"), std::invalid_argument);
    EXPECT_EQ(ParseSeconds("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(ToSeconds(Later(FromSeconds(kLastSecond - 1), UINT32_MAX)), kLastSecond);

    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    tzset();
    EXPECT_EQ(DateText(4102444800), sizeof(std::time_t) > 4 ? "Fri Jan  1 05:00:00 2100\n" : "4102444800");
    EXPECT_EQ(DateText(INT64_MAX), "9223372036854775807");
}
