#include "TokenTimes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <tuple>

using namespace JwtUtils; // NOLINT(google-build-using-namespace): what is tested

namespace
{
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::uint32_t kLongest = std::numeric_limits<std::uint32_t>::max();
constexpr std::int64_t kLastSecond = 9223372036;
} // namespace

TEST(RefreshDelay, LeavesAMarginBeforeTheExpiration)
{
    const std::tuple<std::int64_t, std::int64_t, std::uint32_t> cases[] = {
        {1000, 999, 0},
        {1000, 1300, 0},
        {1000, 1301, 1},
        {0, kLongest + 300LL, kLongest},
        {0, kLongest + 301LL, kLongest},
        {-kLastSecond, kLastSecond, kLongest},
        {kLastSecond, -kLastSecond, 0},
    };
    for (const auto& [now, expiration, delay] : cases) {
        EXPECT_EQ(RefreshDelay(expiration, now), delay) << expiration;
        EXPECT_EQ(RefreshDelay(FromSeconds(expiration), FromSeconds(now)), delay) << expiration;
    }
    EXPECT_EQ(RefreshDelay(kMost, kLeast), kLongest);
    EXPECT_EQ(RefreshDelay(FromSeconds(1302), FromSeconds(1000) + std::chrono::nanoseconds(1)), 1U) << "cut off";
}

TEST(TokenTimes, AreTimesOfTheClock_OrErrors)
{
    EXPECT_EQ(ToSeconds(ParseTime(" 1700000000ab")), 1700000000);
    EXPECT_EQ(ToSeconds(ParseTime("9223372036")), kLastSecond);
    EXPECT_EQ(ToSeconds(ParseTime("-9223372036")), -kLastSecond);
    for (const char* text : {"9223372037", "-9223372037", "9223372036854775807", "9223372036854775808"}) {
        EXPECT_THROW(ParseTime(text), std::out_of_range) << text;
    }
    EXPECT_THROW(ParseTime("abc1"), std::invalid_argument);
    EXPECT_EQ(ParseSeconds("9223372036854775807"), kMost);
    EXPECT_EQ(ToSeconds(Later(FromSeconds(kLastSecond - 1), kLongest)), kLastSecond);
}

TEST(DateText, IsADate_OrANumber)
{
    setenv("TZ", "UTC", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    EXPECT_EQ(DateText(0), "Thu Jan  1 00:00:00 1970");
    EXPECT_EQ(DateText(4102444800), sizeof(std::time_t) > 4 ? "Fri Jan  1 00:00:00 2100" : "4102444800");
    EXPECT_EQ(DateText(kMost), "9223372036854775807");
}
