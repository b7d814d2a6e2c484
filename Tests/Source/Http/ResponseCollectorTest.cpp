#include "ResponseCollector.h"

#include <gtest/gtest.h>

using Http::ResponseCollector;

TEST(ResponseCollector, KeepsTheFieldsOfTheFinalAnswer)
{
    ResponseCollector collector;
    for (const char* line :
         {"HTTP/1.1 302 Found\r\n", "Location: elsewhere\r\n", "Retry-After: 1\r\n", "\r\n", "HTTP/1.1 503 Busy\r\n",
          "X-Retry-Count: \t 2 \r\n", "x-retry-count:3\r\n", "Twice: a\r\n", "Folded: one\r\n", "  two: three\r\n",
          "no field\r\n", "Twice: b: c\r\n", "Empty:\r\n", "\r\n", "Trailer: late\r\n"}) {
        EXPECT_TRUE(collector.AddHeaderLine(line));
    }
    const Http::HeaderMap expected = {
        {"X-Retry-Count", "2"}, {"x-retry-count", "3"}, {"Twice", "b: c"}, {"Folded", "one two: three"}, {"Empty", ""}};
    EXPECT_EQ(collector.TakeHeaders(), expected);
}

TEST(ResponseCollector, TakesInNoMoreThanItsBounds)
{
    ResponseCollector collector;
    collector.SetBodyBound({4, Http::LongBody::Cut});
    for (const char* bytes : {"abc", "def", "g"}) {
        EXPECT_TRUE(collector.AddBody(bytes));
    }
    EXPECT_EQ(collector.DroppedSize(), 3U);
    EXPECT_EQ(collector.TakeBody(), "abcd");
    collector.SetBodyBound({4, Http::LongBody::Refuse});
    collector.Clear();
    EXPECT_TRUE(collector.AddBody("abcd"));
    EXPECT_FALSE(collector.AddBody("e"));

    const std::string field = "X-Field: " + std::string(1013, 'x') + "\r\n"; // 1 KiB
    for (const char* answer : {"HTTP/1.1 503 Busy\r\n", "HTTP/1.1 200 OK\r\n"}) {
        EXPECT_TRUE(collector.AddHeaderLine(answer));
        for (std::size_t taken = 0; taken < ResponseCollector::kMaxHeaderSize; taken += field.size()) {
            EXPECT_TRUE(collector.AddHeaderLine(field));
        }
        EXPECT_FALSE(collector.AddHeaderLine("X: \r\n"));
    }
}
