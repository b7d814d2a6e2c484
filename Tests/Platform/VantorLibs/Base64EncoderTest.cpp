#include "Base64Encoder.h"

#include <gtest/gtest.h>

// Vectors of RFC 4648 section 10, among others.
TEST(Base64Encoder, Bytes_ComeOutOfTheirText)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xfe", "+//+"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(Base64Encoder::Decode(text), bytes) << text;
    }
    std::string text;
    std::string bytes;
    while (bytes.size() < std::size_t{3} * 1024 * 1024) {
        text += "Zm9v";
        bytes += "foo";
    }
    EXPECT_TRUE(Base64Encoder::Decode(text + "AP8=") == bytes + std::string("\0\xff", 2));
}

TEST(Base64Encoder, InvalidText_DecodesToNothing)
{
    for (const char* text : {"Z", "Zg", "Zg=", "Zg= ", " Zg==", "Zm9v\n", "Zm9vZg==\n",
                             "Z===", "====", "Zg==Zg==", "Zm=v", "=Zg=", "Zm-_", "Zm9\x80", "Zm9vZm9!"}) {
        EXPECT_EQ(Base64Encoder::Decode(text), "") << text;
    }
    EXPECT_EQ(Base64Encoder::Decode(std::string("Zm9\0", 4)), "");
}
