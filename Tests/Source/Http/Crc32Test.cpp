#include "Crc32.h"

#include <gtest/gtest.h>

#include <numeric>

TEST(Crc32, GivesTheValuesOfABitwiseDivision)
{
    std::string everyByte(256, 0);
    std::iota(everyByte.begin(), everyByte.end(), '\0');
    EXPECT_EQ(Http::Crc32::Calculate(""), 0U);
    EXPECT_EQ(Http::Crc32::Calculate("xyz"), 0U);
    EXPECT_EQ(Http::Crc32::Calculate("\x80\x01\x02\xff"), 0x800102FFU);
    EXPECT_EQ(Http::Crc32::Calculate("abcde"), 0x7BF0FF0EU);
    EXPECT_EQ(Http::Crc32::Calculate(everyByte), 0xB756E3A8U);
}
