#include "Script.h"
#include "TestCloud.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <stdexcept>

using testing::EndsWith;
using testing::HasSubstr;

TEST(CloudScript, Outcomes_AreTakenInTurnEachByItsKind)
{
    const TestCloud cloud(R"([
        {"match": "archive", "status": 503, "headers": {"Retry-After": "7", "X-Retry-Count": 2}, "body": {"a": [1]}},
        {"match": "metadata", "status": 429, "body": "slow down", "repeat": 2},
        {"status": 204, "delayMs": 150},
        {"match": "metadata", "status": 500, "repeat": "forever"}])");

    // The outcome at the head waits for an archive.
    const std::string path = cloud.Announce();
    EXPECT_THAT(cloud.PostArchive(path),
                AllOf(Answer(503, "\nRetry-After: 7\r"), HasSubstr("\nX-Retry-Count: 2\r"),
                      HasSubstr("\nContent-Type: application/json\r"), EndsWith("\r\n\r\n{\"a\":[1]}")));
    EXPECT_EQ(cloud.Stored(), 1U);

    EXPECT_THAT(cloud.PostArchive(path), Answer(200));
    EXPECT_THAT(cloud.PostMetadata(), EndsWith("\r\n\r\nslow down"));
    EXPECT_THAT(cloud.PostMetadata(), Answer(429));
    EXPECT_THAT(cloud.Ask("GET /anything"), Answer(204));
    EXPECT_GE(std::chrono::steady_clock::now() - cloud.Request(6).arrival, std::chrono::milliseconds(150));
    EXPECT_THAT(cloud.PostMetadata(), Answer(500));
    EXPECT_THAT(cloud.PostMetadata(), Answer(500));
    EXPECT_THAT(cloud.PostArchive(path), Answer(200));
}

TEST(CloudScript, Reset_CutsAnswerOrRequestWhereItIsTold)
{
    const struct
    {
        std::string reset;
        std::string answer;
        std::size_t bodySize;
        std::size_t stored;
    } cases[] = {
        {R"("resetAfterBytes":0)", " RESET", 43, 2},
        {R"("resetAfterBytes":25)", "HTTP/1.1 200 OK\r\nContent- RESET", 43, 2},
        {R"("resetAfterRequestBytes":0)", " RESET", 0, 1},
        {R"("resetAfterRequestBytes":10)", " RESET", 10, 1},
        {R"("resetAfterRequestBytes":1000)", " RESET", 43, 1},
    };
    for (const auto& [reset, answer, bodySize, stored] : cases) {
        SCOPED_TRACE(reset);
        const TestCloud cloud(R"([{"match":"archive",)" + reset + "}]");
        const std::string path = cloud.Announce();
        EXPECT_EQ(cloud.PostArchive(path), answer);
        EXPECT_EQ(cloud.Request(2).bodySize, bodySize);
        EXPECT_EQ(cloud.Stored(), stored);
        EXPECT_THAT(cloud.PostArchive(path), Answer(200));
    }
}

TEST(CloudScript, BadScript_IsRefusedWithTheReason)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"status":503})", "not a JSON array"},
        {R"([{},{"stauts":503}])", "outcome 2: there is no member \"stauts\""},
        {R"([{"status":"503"}])", "\"status\" must be a whole number from 200 to 599"},
        {R"([{"match":"upload"}])", "\"match\" must be"},
        {R"([{"status":503,"headers":["Retry-After"]}])", "\"headers\" must be an object"},
        {R"([{"status":503,"headers":{"Retry-After":"1\r\nX: y"}}])", "\"headers\" must map"},
        {R"([{"status":204,"body":"x"}])", "has no \"body\""},
        {R"([{"hang":true,"status":503}])", "exclude each other"},
        {R"([{"resetAfterBytes":1,"resetAfterRequestBytes":1}])", "exclude each other"},
    };
    for (const auto& [text, reason] : cases) {
        EXPECT_THAT(ErrorOf<std::invalid_argument>([&text = text] { DiagCloud::ParseScript(text); }), HasSubstr(reason))
            << text;
    }
}
