#include "Script.h"
#include "TestCloud.h"

#include <gmock/gmock.h>

#include <stdexcept>

using DiagCloud::ParseScript;
using testing::HasSubstr;

TEST(CloudScript, Outcomes_AreTakenInTurnEachByItsKind)
{
    const TestCloud cloud(ParseScript(R"([
        {"match": "archive", "status": 503, "headers": {"Retry-After": "7", "X-Retry-Count": 2}, "body": {"a": [1]}},
        {"match": "metadata", "status": 429, "body": "slow down", "repeat": 2},
        {"status": 204, "delayMs": 150},
        {"match": "metadata", "status": 500, "repeat": "forever"}])"));

    // The outcome at the head waits for an archive.
    const std::string url = cloud.Announce();
    const Reply unavailable = PostArchive(url);
    EXPECT_EQ(unavailable.status, 503);
    for (const char* part : {"\nRetry-After: 7\r", "\nX-Retry-Count: 2\r", "\nContent-Type: application/json\r"}) {
        EXPECT_THAT(unavailable.text, HasSubstr(part));
    }
    EXPECT_THAT(unavailable.text, testing::EndsWith("\r\n\r\n{\"a\":[1]}"));
    EXPECT_EQ(cloud.Stored(), 1);

    EXPECT_EQ(PostArchive(url).status, 200);
    EXPECT_THAT(cloud.PostMetadata().text, testing::EndsWith("\r\n\r\nslow down"));
    EXPECT_EQ(cloud.PostMetadata().status, 429);
    EXPECT_EQ(SendRequest("GET", cloud.Url() + "/anything").status, 204);
    EXPECT_GE(std::chrono::steady_clock::now() - cloud.Request(6).arrival, std::chrono::milliseconds(150));
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(cloud.PostMetadata().status, 500);
    }
    EXPECT_EQ(PostArchive(url).status, 200);
}

TEST(CloudScript, Reset_CutsAnswerOrRequestWhereItIsTold)
{
    const struct
    {
        std::string reset;
        std::string answer;
        std::size_t bodySize;
        std::ptrdiff_t stored;
    } cases[] = {
        {R"("resetAfterBytes":0)", " RESET", 43, 2},
        {R"("resetAfterBytes":25)", "HTTP/1.1 200 OK\r\nContent- RESET", 43, 2},
        {R"("resetAfterRequestBytes":0)", " RESET", 0, 1},
        {R"("resetAfterRequestBytes":10)", " RESET", 10, 1},
        {R"("resetAfterRequestBytes":1000)", " RESET", 43, 1},
    };
    const std::string rest = " HTTP/1.1\r\n" + kMd5 + "\r\nContent-Length: 43\r\n\r\n" + kContent;
    for (const auto& [reset, answer, bodySize, stored] : cases) {
        SCOPED_TRACE(reset);
        const TestCloud cloud(ParseScript(R"([{"match":"archive",)" + reset + "}]"));
        const std::string url = cloud.Announce();
        const RawClient client(cloud, ("POST " + url).append(rest));
        EXPECT_EQ(client.ReadAll(), answer);
        EXPECT_EQ(cloud.Request(2).bodySize, bodySize);
        EXPECT_EQ(cloud.Stored(), stored);
        EXPECT_EQ(PostArchive(url).status, 200);
    }
}

TEST(CloudScript, BadScript_IsRefusedWithTheReason)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"status":503})", "not a JSON array"},
        {R"([503])", "outcome 1: it must be an object"},
        {R"([{},{"stauts":503}])", "outcome 2: there is no member \"stauts\""},
        {R"([{"status":"503"}])", "\"status\" must be a whole number from 200 to 599"},
        {R"([{"delayMs":-1}])", "\"delayMs\" must be"},
        {R"([{"repeat":0}])", "\"repeat\" must be"},
        {R"([{"match":"upload"}])", "\"match\" must be"},
        {R"([{"status":503,"headers":["Retry-After"]}])", "\"headers\" must be an object"},
        {R"([{"status":503,"headers":{"Retry-After":"1\r\nX: y"}}])", "\"headers\" must map"},
        {R"([{"status":204,"body":"x"}])", "has no \"body\""},
        {R"([{"hang":true,"status":503}])", "exclude each other"},
        {R"([{"resetAfterBytes":1,"resetAfterRequestBytes":1}])", "exclude each other"},
    };
    for (const auto& [text, reason] : cases) {
        try {
            ParseScript(text);
            ADD_FAILURE() << "accepted: " << text;
        } catch (const std::invalid_argument& error) {
            EXPECT_THAT(error.what(), HasSubstr(reason)) << text;
        }
    }
}
