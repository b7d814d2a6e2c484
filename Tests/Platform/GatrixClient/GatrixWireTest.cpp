#include "GatrixBody.h"
#include "GatrixWire.h"
#include "ReconnectDelay.h"
#include "Texts.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Gatrix;

/** What became of a text: the text of the frame that was read, or the reason why none was, and who waits in vain. */
static std::string Reread(const std::string& text)
{
    try {
        return Wire::Serialize(Wire::Parse(text));
    } catch (const Wire::FrameError& error) {
        EXPECT_LE(std::string(error.what()).size(), 123U) << "does not fit a close frame";
        const auto& waiting = error.GetExchange();
        return error.what() + (waiting
                                   ? (waiting->isRequest ? " > request " : " > answer ") + std::to_string(waiting->id)
                                   : std::string());
    }
}

static std::string WithBody(const std::string& body)
{
    return R"({"id":1,"op":"answer","body":)" + body + "}";
}

TEST(GatrixWire, EveryFrame_IsWrittenAsItWasRead)
{
    const char* const frames[] = {
        R"({"client":"a \u00e9","op":"hello","platform":"p"})",
        R"({"endpoints":["/a","b"],"op":"interest"})",
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
    EXPECT_THROW(Wire::Serialize(Wire::Notify{"/a", std::nan(""), {}}), Wire::FrameError);
}

TEST(GatrixWire, Body_IsKeptAsItWasSpelledWithoutWhiteSpace)
{
    const std::pair<const char*, const char*> bodies[] = {
        {" { \"b\" :\t1 ,\r\n\"a\": [ ] } ", R"({"b":1,"a":[]})"},
        {R"(" a\n\"b \\")", R"(" a\n\"b \\")"},
        {"\"\xc3\xa9 } \\/\"", "\"\xc3\xa9 } \\/\""},
        {"[0, -0, 0.1, 1E5, 1e-05, 123456789012345678901234567890]",
         "[0,-0,0.1,1E5,1e-05,123456789012345678901234567890]"},
    };
    for (const auto& [spelled, kept] : bodies) {
        EXPECT_EQ(Reread(WithBody(spelled)), WithBody(kept));
    }
    EXPECT_EQ(Reread(WithBody(std::string(255, '[') + "1" + std::string(255, ']'))).size(), 541U);
}

TEST(GatrixWire, TextThatIsNoFrame_IsRefusedWithAReason)
{
    const std::pair<std::string, std::string> cases[] = {
        {"[]", "not a JSON object"},
        {R"({"op":"answer,"id":1})", "not a JSON object"},
        {"{" + Repeated("\"a\":1,", 62) + R"("b":1,"op":1})", R"("a": there is a second one)"},
        {"{" + Repeated("\"a\":1,", 63) + R"("b":1,"op":1})", "not a JSON object"},
        {R"({"op":"answer","id":1,"later":01})", R"(answer: "later": a malformed number at byte 1 > answer 1)"},
        {R"({"op":"answer","id":1,"body":})",
         R"(answer: "body": Line 1, Column 1: Syntax error: value, object or array expected. > answer 1)"},
        {R"({"op":"ready","endpoints":[1)" + Repeated(",1", 4094) + "]}",
         R"(ready: "endpoints" must be a list of texts)"},
        {R"({"op":"ready","endpoints":[1)" + Repeated(",1", 4095) + "]}",
         R"(ready: "endpoints": more than 4096 values at byte 8191)"},
        {WithBody(R"("\ud800")"), R"(answer: "body": half a surrogate pair at byte 7 > answer 1)"},
        {WithBody(std::string(256, '[') + std::string(256, ']')),
         R"(answer: "body": nested in more than 255 levels at byte 255 > answer 1)"},
        {WithBody("[1" + Repeated(",1", 65535) + "]"),
         R"(answer: "body": more than 65536 values at byte 131071 > answer 1)"},
        {R"({"body":1,"op":"request","id":2,"body":1})", R"(request: "body": there is a second one > request 2)"},
        {R"({"op":"request","id":2,"method":"PUT"})", R"(request: "method" must be GET or POST > request 2)"},
        {R"({"op":"error","id":3,")" + std::string(200, 'n') + R"(":01})",
         R"(error: ")" + std::string(115, 'n') + " > answer 3"},
        {R"({"op":"answer","id":1,"id":2})", R"(answer: "id": there is a second one)"},
        {R"({"op":["hello"]})", R"("op" must be a text)"},
        {R"({"op":"Hello","client":"a","platform":"p"})", R"("op" is unknown)"},
        {R"({"op":"subscribe","endpoint":"a","version":"1"})", R"(subscribe: "version" must be a number)"},
        {R"({"op":"answer","id":-1})", R"(answer: "id" must be an unsigned number)"},
        {R"({"op":"error","id":1})", R"(error: "error" must be an object > answer 1)"},
        {R"({"op":"error","error":{"message":"m","statusCode":1.5}})", R"(error: "statusCode" must be a number)"},
        {R"({"op":"ready","endpoints":[],"later":{"a":[1]}})", R"({"endpoints":[],"op":"ready"})"},
    };
    for (const auto& [text, reason] : cases) {
        EXPECT_EQ(Reread(text), reason) << text.substr(0, 100);
    }
}

TEST(GatrixBody, Text_TravelsAsTheValueThatItSpellsOrAsItself)
{
    const auto expect = [](const std::string& text, const std::string& body, const std::string& readBack) {
        EXPECT_EQ(BodyOfText(text), body);
        EXPECT_EQ(TextOfBody(body), readBack);
    };
    expect("{\"b\":\t[1, \"x y\"],\r\n\"a\": null}", R"({"b":[1,"x y"],"a":null})", R"({"b":[1,"x y"],"a":null})");
    expect(R"("it's \"quoted\"")", R"("it's \"quoted\"")", R"(it's "quoted")");
    expect("plain text\n", R"("plain text\n")", "plain text\n");
    expect("01", R"("01")", "01");
    expect("{\"a\":\"\xff\"}", R"("{\"a\":\"\ufffd\"}")", "{\"a\":\"\xef\xbf\xbd\"}");
    // One level less than a frame has: the frame itself is the other.
    const std::string fits = std::string(255, '[') + std::string(255, ']');
    EXPECT_EQ(BodyOfText(fits), fits);
    EXPECT_EQ(BodyOfText("[" + fits + "]"), "\"[" + fits + "]\"");
}

TEST(ReconnectDelay, Failures_DoubleItUntilAConnectionWasOfUse)
{
    ReconnectDelay delay;
    ReconnectDelay::Time now;
    const auto failed = [&](double random) {
        now += std::chrono::hours(1);
        return delay.OnDown(now, random).count();
    };
    const auto dropped = [&](int upSeconds, double random) {
        delay.OnUp(now);
        now += std::chrono::seconds(upSeconds);
        return delay.OnDown(now, random).count();
    };
    EXPECT_EQ(failed(0), 100);
    EXPECT_EQ(dropped(0, 0), 200);
    EXPECT_EQ(failed(0.5), 300);
    EXPECT_EQ(dropped(9, 0), 800);
    EXPECT_EQ(dropped(10, 1), 50) << "it has lasted";
    EXPECT_EQ(dropped(9, 0), 200);
    delay.OnReady();
    EXPECT_EQ(dropped(0, 0), 100);
    for (int count = 0; count < 2000; ++count) {
        EXPECT_LE(failed(0), 5000);
    }
    EXPECT_EQ(failed(1), 2500);
}
