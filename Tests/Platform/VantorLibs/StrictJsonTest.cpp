#include "StrictJson.h"
#include "Texts.h"

#include <gmock/gmock.h>
#include <json/json.h>

using testing::HasSubstr;

TEST(StrictJson, Values_AreTakenWithWhiteSpaceAround)
{
    for (const char* text :
         {" {} ", "[]\n", "null", "\t-0.5e+10\r", R"("\"\\\/\b\f\n\r\t\u00e9\ud83d\ude00")", "\"\xc3\xa9\x7f\"",
          R"({"a":[1,true,{"b":false}],"A":1E-5})", "[123456789012345678901234567890,1e-400,-0]"}) {
        EXPECT_NO_THROW(StrictJson::Parse(text)) << text;
    }
    EXPECT_EQ(StrictJson::Parse(R"(["\u0041\ud83d\ude00", 7])")[0].asString(), "A\xf0\x9f\x98\x80");
}

TEST(StrictJson, WhatAnotherReaderMightTakeForSomethingElse_IsRefusedWithAReason)
{
    StrictJson::Limits limits;
    limits.bytes = 200;
    limits.levels = 3;
    limits.values = 20;
    EXPECT_NO_THROW(StrictJson::Parse("[[[0]]]", limits));
    EXPECT_NO_THROW(StrictJson::Parse("[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19]", limits));
    EXPECT_NO_THROW(StrictJson::Parse("0" + std::string(199, ' '), limits));

    const std::pair<std::string, std::string> cases[] = {
        {"", "Line 1, Column 1"},
        {"[1", "Missing ','"},
        {"{} {}", "Extra non-whitespace"},
        {"[NaN]", "no JSON value at byte 1"},
        {std::string("{}\0{}", 5), "no JSON value at byte 2"},
        {"\xef\xbb\xbf{}", "no JSON value at byte 0"},
        {"[\"\xff\"]", "not UTF-8"},
        {"\"a", "a text without end"},
        {"\"\x1f\"", "a control character at byte 1"},
        {R"("\a")", "an unknown escape"},
        {"\"a\\", "an unknown escape"},
        {R"("\u12g4")", "an unknown escape"},
        {R"("\u12)", "an unknown escape"},
        {R"("\ud800")", "half a surrogate pair"},
        {R"("\ud800\u0041")", "half a surrogate pair"},
        {R"("\ude00\ud83d")", "half a surrogate pair"},
        {R"({"a":1,"\u0061":2})", "Duplicate key: 'a'"},
        {"{\"" + std::string(90, 'k') + "\":1,\"" + std::string(90, 'k') + "\":2}", "Duplicate key: 'kk"},
        {"[1e400]", "'1e400' is not a number"},
        {"01", "a malformed number at byte 1"},
        {"1.e5", "a malformed number"},
        {"1e", "a malformed number"},
        {"[[[[]]]]", "nested in more than 3 levels at byte 3"},
        {"[1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20]", "more than 20 values"},
        {"0" + std::string(200, ' '), "more than 200 bytes"},
    };
    for (const auto& [text, reason] : cases) {
        const std::string error =
            ErrorOf<StrictJson::Error>([&text = text, &limits] { StrictJson::Parse(text, limits); });
        EXPECT_THAT(error, AllOf(HasSubstr(reason), Not(HasSubstr("\n")))) << text;
        EXPECT_LE(error.size(), 100U);
    }
}
