#include "ResponseCollector.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Http::ResponseCollector;

TEST(ResponseCollector, KeepsTheFieldsOfTheFinalAnswer)
{
    ResponseCollector collector;
    const std::vector<std::string> lines = {
        "HTTP/1.1 302 Found\r\n",
        "Location: elsewhere\r\n",
        "Retry-After: 1\r\n",
        "\r\n",
        "HTTP/1.1 503 Busy\r\n",
        "X-Retry-Count: \t 2 \r\n",
        "x-retry-count:3\r\n",
        "Twice: a\r\n",
        "Folded: one\r\n",
        "  two: three\r\n",
        "no field\r\n",
        "Twice: b: c\r\n",
        "Empty:\r\n",
        "\r\n",
        "Trailer: late\r\n",
    };
    for (const auto& line : lines) {
        EXPECT_TRUE(collector.AddHeaderLine(line));
    }
    EXPECT_EQ(collector.TakeHeaders(), (Http::HeaderMap{{"X-Retry-Count", "2"},
                                                        {"x-retry-count", "3"},
                                                        {"Twice", "b: c"},
                                                        {"Folded", "one two: three"},
                                                        {"Empty", ""}}));
}

TEST(ResponseCollector, TakesInNoMoreThanItsBounds)
{
    ResponseCollector collector;
    const std::string quarter(ResponseCollector::kMaxBodySize / 4, 'x');
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(collector.AddBody(quarter));
    }
    EXPECT_FALSE(collector.AddBody("x"));
    EXPECT_EQ(collector.TakeBody().size(), ResponseCollector::kMaxBodySize);

    EXPECT_TRUE(collector.AddHeaderLine("HTTP/1.1 200 OK\r\n"));
    std::size_t taken = 0;
    while (taken < 1000000) {
        const std::string field = "Field-" + std::to_string(taken) + ": x\r\n";
        if (!collector.AddHeaderLine(field)) {
            break;
        }
        taken += field.size();
    }
    EXPECT_LE(taken, ResponseCollector::kMaxHeaderSize);
    EXPECT_GT(taken, ResponseCollector::kMaxHeaderSize - 100);
}
