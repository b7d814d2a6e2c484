#include "Crc32.h"

#include <gtest/gtest.h>

#include <string>

TEST(Crc32, GivesTheValuesOfABitwiseDivision)
{
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    const struct
    {
        std::string content;
        std::uint32_t expected;
    } cases[] = {
        {"", 0},
        {"xyz", 0},
        {"\x80\x01\x02\xff", 0x800102FF},
        {"abcde", 0x7BF0FF0E},
        {"123456789", 0x74527081},
        {everyByte, 0xB756E3A8},
    };
    for (const auto& [content, expected] : cases) {
        EXPECT_EQ(Http::Crc32::Calculate(content), expected) << content;
    }
}
