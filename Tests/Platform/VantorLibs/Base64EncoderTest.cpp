#include "Base64Encoder.h"
#include "Texts.h"

#include <gtest/gtest.h>

// Vectors of RFC 4648 section 10, among others.
TEST(Base64Encoder, Decode_TakesWholeTextsAndNothingElse)
{
    const std::pair<std::string, std::string> cases[] = {
        {"Zg==", "f"},
        {"Zm8=", "fo"},
        {"+//+", "\xfb\xff\xfe"},
        {Repeated("Zm9v", 1 << 20) + "AP8=", Repeated("foo", 1 << 20) + std::string("\0\xff", 2)},
    };
    for (const auto& [text, bytes] : cases) {
        EXPECT_TRUE(Base64Encoder::Decode(text) == bytes) << text.substr(0, 10);
    }
    for (const char* text : {"Z", "Zg", "Zg=", "Zg= ", " Zg==", "Zm9v\n", "Zm9vZg==\n",
                             "Z===", "====", "Zg==Zg==", "Zm=v", "=Zg=", "Zm-_", "Zm9\x80", "Zm9vZm9!"}) {
        EXPECT_EQ(Base64Encoder::Decode(text), "") << text;
    }
    EXPECT_EQ(Base64Encoder::Decode(std::string("Zm9\0", 4)), "");
}
