#include "StringUtils.h"
#include "Utf8Text.h"

#include <gtest/gtest.h>

#include <limits>

TEST(StringUtils, Texts_AreTheSameInEveryLocale)
{
    struct GroupingAndComma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale::global(std::locale(std::locale(), new GroupingAndComma));
    EXPECT_EQ(StringUtils::FindReplace("a-b-c", "-", "--"), "a--b--c");
    EXPECT_EQ(StringUtils::FindReplace("aaa", "aa", "b"), "ba");
    EXPECT_EQ(StringUtils::FindReplace("abc", "", "x"), "abc");
    EXPECT_EQ(StringUtils::trim(" \t\r\n\v\fa b\n"), "a b");
    EXPECT_EQ(StringUtils::trim(" \n"), "");
    EXPECT_EQ(StringUtils::trim("\xc2\xa0x"), "\xc2\xa0x");
    EXPECT_EQ(StringUtils::ToString(1234567), "1234567");
    EXPECT_EQ(StringUtils::ToString(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(StringUtils::ToString(std::uint8_t{65}), "65");
    EXPECT_EQ(StringUtils::ToString(1.2), "1.2");
    EXPECT_EQ(StringUtils::ToString(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(StringUtils::ToString(true), "true");
    EXPECT_EQ(StringUtils::ToJson({}), "{}");
    EXPECT_EQ(StringUtils::ToJson({{"b", "line\n\"\\\x01"}, {"a", "\xc3\xa9\xff"}}),
              R"({"a":"\u00e9\ufffd","b":"line\n\"\\\u0001"})");
}

TEST(Utf8Text, RepairAndCut_KeepCharactersWhole)
{
    EXPECT_EQ(Utf8Text::Repair("a\xff\xc3\xa9\xe2\x82"), "a\xef\xbf\xbd\xc3\xa9\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(Utf8Text::Cut("a\xc3\xa9z", 0), "");
    EXPECT_EQ(Utf8Text::Cut("a\xc3\xa9z", 2), "a");
    EXPECT_EQ(Utf8Text::Cut("a\xc3\xa9z", 3), "a\xc3\xa9");
    EXPECT_EQ(Utf8Text::Cut("a\xc3\xa9z", 9), "a\xc3\xa9z");
}

TEST(Utf8Text, Characters_AreThoseOfTheStandard)
{
    for (const char* text : {"", "a", "\xc2\x80", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80", "\xf4\x8f\xbf\xbf"}) {
        EXPECT_TRUE(Utf8Text::IsValid(text)) << text;
    }
    for (const char* text : {"\x80", "\xc0\xaf", "\xc1\xbf", "\xc3", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xe2\x82",
                             "\xe2\x82x", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "a\xff"}) {
        EXPECT_FALSE(Utf8Text::IsValid(text));
    }
}
