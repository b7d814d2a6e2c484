#include "GatrixWire.h"

#include <gmock/gmock.h>

#include <cmath>

using namespace Gatrix;
using testing::HasSubstr;

namespace
{
/** What became of a text: the text of the frame that was read, or the reason why none was. */
std::string Reread(const std::string& text)
{
    try {
        return Wire::Serialize(Wire::Parse(text));
    } catch (const Wire::FrameError& error) {
        EXPECT_LE(std::string(error.what()).size(), 123U) << "does not fit a close frame";
        return error.what();
    }
}

std::string WithBody(const std::string& body)
{
    return R"({"id":1,"op":"answer","body":)" + body + "}";
}
} // namespace

TEST(GatrixWire, EveryFrame_IsWrittenAsItWasRead)
{
    const char* const frames[] = {
        R"({"client":"a \u00e9","op":"hello","platform":"p"})",
        R"({"endpoints":["/a","b"],"op":"interest"})",
        R"({"endpoints":[],"op":"ready"})",
        R"({"endpoints":["/a"],"op":"notReady"})",
        R"({"endpoint":"/a","group":"g","method":"POST","op":"register","version":1.1})",
        R"({"endpoint":"/a","op":"subscribe","version":0.10000000000000002})",
        R"({"endpoint":"/a","id":18446744073709551615,"method":"GET","op":"request","version":1.0})",
        R"({"endpoint":"/a","id":0,"method":"POST","op":"request","version":-2.5,"body":{"z":[1],"a":null}})",
        R"({"id":7,"op":"answer"})",
        R"({"id":7,"op":"answer","body":null})",
        R"({"error":{"message":"no","statusCode":-404},"id":7,"op":"error"})",
        R"({"endpoint":"","op":"notify","version":1.0,"body":"text"})",
    };
    for (const char* const frame : frames) {
        EXPECT_EQ(Reread(frame), frame);
    }
}

TEST(GatrixWire, Body_IsKeptAsItWasSpeltWithoutWhiteSpace)
{
    const std::pair<const char*, const char*> bodies[] = {
        {" { \"b\" :\t1 ,\r\n\"a\": [ ] } ", R"({"b":1,"a":[]})"},
        {R"(" a\n\"b \\")", R"(" a\n\"b \\")"},
        {"\"\xc3\xa9 \\udc00 \\/\"", "\"\xc3\xa9 \\udc00 \\/\""},
        {"[0, -0, 0.1, 1E5, 1e-05, 123456789012345678901234567890]",
         "[0,-0,0.1,1E5,1e-05,123456789012345678901234567890]"},
        {"false", "false"},
    };
    for (const auto& [spelt, kept] : bodies) {
        EXPECT_EQ(Reread(WithBody(spelt)), WithBody(kept));
    }
    for (const char* const body : {"01", "1.", "-", "[1.e5]", "\"\n\"", "{\"a\x01\":1}"}) {
        EXPECT_EQ(Reread(WithBody(body)), R"(answer: "body" must be a JSON value)") << body;
    }
    EXPECT_EQ(Reread(WithBody(std::string(255, '[') + std::string(255, ']'))).size(), 540U);
}

TEST(GatrixWire, TextThatIsNoFrame_IsRefusedWithAReason)
{
    const std::string texts[] = {
        "",
        "x",
        "[]",
        "null",
        WithBody(std::string(256, '[') + std::string(256, ']')),
        std::string(1000000, '['),
        R"({"op":"answer","op":"answer","id":1})",
        R"({"op":"answer","id":1}{})",
        R"({"op":"answer","id":1} x)",
        std::string("{\"op\":\"answer\",\"id\":1}\0", 23),
        "\xef\xbb\xbf{}",
        R"({"op":"answer","id":1,})",
        R"({"op":"answer","id":NaN})",
        R"(/**/{"op":"answer","id":1})",
        R"({'op':'answer','id':1})",
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(Reread(text), "not a JSON object") << text.substr(0, 60);
    }
    const std::pair<const char*, const char*> cases[] = {
        {R"({})", R"("op" must be a text)"},
        {R"({"op":["hello"]})", R"("op" must be a text)"},
        {R"({"op":"Hello","client":"a","platform":"p"})", R"("op" is unknown)"},
        {R"({"op":"hello","platform":"p"})", R"(hello: "client" must be a text)"},
        {R"({"op":"hello","client":"a","platform":1})", R"(hello: "platform" must be a text)"},
        {R"({"op":"interest"})", R"(interest: "endpoints" must be a list of texts)"},
        {R"({"op":"ready","endpoints":["a",1]})", R"(ready: "endpoints" must be a list of texts)"},
        {R"({"op":"notReady","endpoints":{}})", R"(notReady: "endpoints" must be a list of texts)"},
        {R"({"op":"register","method":"PUT","endpoint":"a","version":1,"group":"g"})",
         R"(register: "method" must be GET or POST)"},
        {R"({"op":"register","method":"GET","endpoint":"a","version":1})", R"(register: "group" must be a text)"},
        {R"({"op":"subscribe","endpoint":"a","version":"1"})", R"(subscribe: "version" must be a number)"},
        {R"({"op":"subscribe","version":1})", R"(subscribe: "endpoint" must be a text)"},
        {R"({"op":"request","method":"GET","endpoint":"a","version":1})",
         R"(request: "id" must be an unsigned number)"},
        {R"({"op":"answer","id":-1})", R"(answer: "id" must be an unsigned number)"},
        {R"({"op":"answer","id":18446744073709551616})", R"(answer: "id" must be an unsigned number)"},
        {R"({"op":"answer","id":"1"})", R"(answer: "id" must be an unsigned number)"},
        {R"({"op":"error","id":1})", R"(error: "error" must be an object)"},
        {R"({"op":"error","id":1,"error":{"message":"m"}})", R"(error: "statusCode" must be a number)"},
        {R"({"op":"error","id":1,"error":{"statusCode":1.5,"message":"m"}})",
         R"(error: "statusCode" must be a number)"},
        {R"({"op":"error","id":1,"error":{"statusCode":1}})", R"(error: "message" must be a text)"},
        {R"({"op":"notify","endpoint":"a"})", R"(notify: "version" must be a number)"},
    };
    for (const auto& [text, reason] : cases) {
        EXPECT_EQ(Reread(text), reason) << text;
    }
    EXPECT_EQ(Reread(R"({"op":"ready","endpoints":[],"later":{"a":[1]}})"), R"({"endpoints":[],"op":"ready"})");
}

TEST(GatrixWire, WhatIsNoUtf8OrNoNumber_NeverReachesTheWire)
{
    EXPECT_EQ(Wire::Serialize(Wire::Refusal{1, 500, "a\xff\xed\xb0\x80\n"}),
              R"({"error":{"message":"a\ufffd\ufffd\n","statusCode":500},"id":1,"op":"error"})");
    EXPECT_THROW(Wire::Serialize(Wire::Notify{"/a", std::nan(""), {}}), Wire::FrameError);
    EXPECT_THROW(Wire::Serialize(Wire::Subscribe{"/a", INFINITY}), Wire::FrameError);
}
