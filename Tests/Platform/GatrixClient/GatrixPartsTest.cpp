#include <gtest/gtest.h>

#include "GatrixBody.h"
#include "ReconnectDelay.h"

using namespace Gatrix;

TEST(GatrixBody, Text_TravelsAsTheValueThatItSpellsOrAsItself)
{
    struct
    {
        const char* text;
        const char* body;
        const char* readBack;
    } const cases[] = {
        {R"({"b": [1, "x y"], "a": null})", R"({"b":[1,"x y"],"a":null})", R"({"b":[1,"x y"],"a":null})"},
        {" 1.50 ", "1.50", "1.50"},
        {"null", "null", "null"},
        {R"("it's \"quoted\"")", R"("it's \"quoted\"")", R"(it's "quoted")"},
        {"", R"("")", ""},
        {"plain text\n", R"("plain text\n")", "plain text\n"},
        {"{\"a\":1} x", R"("{\"a\":1} x")", "{\"a\":1} x"},
        {"01", R"("01")", "01"},
        {"{\"a\":\"\xff\"}", R"("{\"a\":\"\ufffd\"}")", "{\"a\":\"\xef\xbf\xbd\"}"},
    };
    for (const auto& [text, body, readBack] : cases) {
        EXPECT_EQ(BodyOfText(text), body);
        EXPECT_EQ(TextOfBody(body), readBack);
    }
    // One level less than a frame has: the frame itself is the other.
    const std::string fits = std::string(255, '[') + std::string(255, ']');
    EXPECT_EQ(BodyOfText(fits), fits);
    EXPECT_EQ(BodyOfText("[" + fits + "]"), "\"[" + fits + "]\"");
}

TEST(ReconnectDelay, Failures_DoubleItUpToALimitLessARandomPart)
{
    struct
    {
        unsigned int failures;
        double random;
        int milliseconds;
    } const cases[] = {
        {0, 0, 100}, {1, 0, 200},   {5, 0, 3200},    {6, 0, 5000},    {4'000'000'000U, 0, 5000},
        {0, 1, 50},  {3, 0.5, 600}, {6, 0.25, 4375}, {1000, 1, 2500},
    };
    for (const auto& [failures, random, milliseconds] : cases) {
        EXPECT_EQ(ReconnectDelay(failures, random).count(), milliseconds) << failures << " " << random;
    }
}
