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
    const std::pair<std::string, std::string> cases[] = {
        {StringUtils::FindReplace("a-b-c", "-", "--"), "a--b--c"},
        {StringUtils::FindReplace("aaa", "aa", "b"), "ba"},
        {StringUtils::FindReplace("abc", "", "x"), "abc"},
        {StringUtils::trim(" \t\r\n\v\fa b\n"), "a b"},
        {StringUtils::trim(" \n"), ""},
        {StringUtils::trim("\xc2\xa0x"), "\xc2\xa0x"},
        {StringUtils::ToString(1234567), "1234567"},
        {StringUtils::ToString(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {StringUtils::ToString(std::uint8_t{65}), "65"},
        {StringUtils::ToString(1.2), "1.2"},
        {StringUtils::ToString(0.1 + 0.2), "0.30000000000000004"},
        {StringUtils::ToString(true), "true"},
        {StringUtils::ToJson({}), "{}"},
        {StringUtils::ToJson({{"b", "line\n\"\\\x01"}, {"a", "\xc3\xa9\xff"}}),
         R"({"a":"\u00e9\ufffd","b":"line\n\"\\\u0001"})"},
        {Utf8Text::Repair("a\xff\xc3\xa9\xe2\x82"), "a\xef\xbf\xbd\xc3\xa9\xef\xbf\xbd\xef\xbf\xbd"},
        {std::string(Utf8Text::Cut("a\xc3\xa9z", 0)), ""},
        {std::string(Utf8Text::Cut("a\xc3\xa9z", 2)), "a"},
        {std::string(Utf8Text::Cut("a\xc3\xa9z", 3)), "a\xc3\xa9"},
        {std::string(Utf8Text::Cut("a\xc3\xa9z", 9)), "a\xc3\xa9z"},
    };
    for (const auto& [got, expected] : cases) {
        EXPECT_EQ(got, expected);
    }
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
