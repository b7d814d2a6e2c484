#include "Base64Encoder.h"

#include <gtest/gtest.h>

// The vectors of RFC 4648 section 10, among others.
TEST(Base64Encoder, Bytes_ComeAndGo)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xfe", "+//+"},
    };
    for (const auto& [bytes, text] : vectors) {
        EXPECT_EQ(Base64Encoder::Encode(bytes), text);
        EXPECT_EQ(Base64Encoder::Decode(text), bytes) << text;
    }
    for (const std::size_t length : {47, 48, 49, 3 * 1024 * 1024 + 1}) {
        std::string bytes(length, '\0');
        for (std::size_t at = 0; at < length; ++at) {
            bytes[at] = static_cast<char>(at * at / 7);
        }
        EXPECT_TRUE(Base64Encoder::Decode(Base64Encoder::Encode(bytes)) == bytes) << length;
    }
}

TEST(Base64Encoder, InvalidText_DecodesToNothing)
{
    for (const char* text : {"Z", "Zg", "Zg=", "Zg= ", " Zg==", "Zm9v\n", "Zm9vZg==\n",
                             "Z===", "====", "Zg==Zg==", "Zm=v", "=Zg=", "Zm-_", "Zm9\x80", "Zm9vZm9!"}) {
        EXPECT_EQ(Base64Encoder::Decode(text), "") << text;
    }
    EXPECT_EQ(Base64Encoder::Decode(std::string("Zm9\0", 4)), "");
}
