#include "CloudClient.h"
#include "Script.h"

#include <curl/curl.h>
#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

using DiagCloud::Outcome;
using DiagCloud::ParseScript;
using DiagCloud::RequestKind;
using testing::HasSubstr;

namespace
{

constexpr std::chrono::seconds kDeadline{10};
const std::string kContent = "The quick brown fox jumps over the lazy dog";
const std::string kMd5 = "9e107d9d372bb6826bd81d3542a419d6";

} // namespace

TEST(CloudScript, Outcomes_AreTakenInTurnEachByItsKind)
{
    TestCloud cloud(ParseScript(R"([
        {"match": "archive", "status": 503, "headers": {"Retry-After": "7", "X-Retry-Count": 2}, "body": {"a": [1]}},
        {"match": "metadata", "status": 429, "body": "slow down", "repeat": 2},
        {"status": 204},
        {"match": "metadata", "status": 500, "repeat": "forever"}])"));

    const std::string url = cloud.Announce(); // the outcome at the head waits for an archive
    const Reply unavailable = TestCloud::PostArchive(url, kContent, kMd5);
    EXPECT_EQ(503, unavailable.status);
    EXPECT_THAT(unavailable.headers, HasSubstr("Retry-After: 7\r\n"));
    EXPECT_THAT(unavailable.headers, HasSubstr("X-Retry-Count: 2\r\n"));
    EXPECT_THAT(unavailable.headers, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_EQ(R"({"a":[1]})", unavailable.body);
    EXPECT_EQ(1U, cloud.Stored().size());

    EXPECT_EQ(200, TestCloud::PostArchive(url, kContent, kMd5).status);
    EXPECT_EQ("slow down", cloud.PostMetadata().body);
    EXPECT_EQ(429, cloud.PostMetadata().status);
    EXPECT_EQ(204, SendRequest({"GET", cloud.Server().Url() + "/anything"}).status);
    for (int round = 0; round < 5; ++round) {
        EXPECT_EQ(500, cloud.PostMetadata().status);
    }
    EXPECT_EQ(200, TestCloud::PostArchive(url, kContent, kMd5).status);
}

TEST(CloudScript, Delay_LiesBetweenRequestAndAnswer)
{
    Outcome slow;
    slow.delay = std::chrono::milliseconds(150);
    TestCloud cloud({slow});
    EXPECT_EQ(200, cloud.PostMetadata().status);
    const auto answered = std::chrono::steady_clock::now();
    EXPECT_GE(answered - cloud.Server().WaitForRequest(1, kDeadline)->arrival, slow.delay);
    EXPECT_FALSE(cloud.Server().WaitForRequest(2, std::chrono::milliseconds(1)));
}

TEST(CloudScript, ResetAfterBytes_CutsTheAnswerThereAndKeepsTheEffect)
{
    for (const std::uint64_t bytes : {0, 1, 40}) {
        Outcome reset;
        reset.match = RequestKind::kArchive;
        reset.resetAfterBytes = bytes;
        TestCloud cloud({reset});
        const std::string url = cloud.Announce();
        const std::string path = url.substr(cloud.Server().Url().size());
        RawClient client(cloud.Server().Port());
        std::string request = "POST ";
        request.append(path).append(" HTTP/1.1\r\nHost: x\r\nContent-MD5: ").append(kMd5);
        client.Send(request.append("\r\nContent-Length: 43\r\n\r\n").append(kContent));
        const std::string whole = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n";
        EXPECT_EQ(whole.substr(0, bytes), client.ReadAll());
        EXPECT_TRUE(client.WasReset());
        EXPECT_EQ(2U, cloud.Stored().size());
        EXPECT_EQ(200, TestCloud::PostArchive(url, kContent, kMd5).status);
    }
}

TEST(CloudScript, ResetAfterRequestBytes_CutsTheRequestThere)
{
    for (const std::uint64_t bytes : {0, 10, 1000}) { // the last is more than there will be
        Outcome reset;
        reset.match = RequestKind::kArchive;
        reset.resetAfterRequestBytes = bytes;
        TestCloud cloud({reset});
        const std::string url = cloud.Announce();
        EXPECT_NE(0, TestCloud::PostArchive(url, kContent, kMd5).curlCode);
        const auto request = cloud.Server().WaitForRequest(2, kDeadline);
        ASSERT_TRUE(request);
        EXPECT_EQ(std::min<std::uint64_t>(bytes, kContent.size()), request->bodySize);
        EXPECT_EQ(0, request->status);
        EXPECT_EQ(1U, cloud.Stored().size());
        EXPECT_EQ(200, TestCloud::PostArchive(url, kContent, kMd5).status);
    }
}

TEST(CloudScript, Hang_EndsWithTheServer)
{
    Outcome hang;
    hang.hang = true;
    TestCloud cloud({hang});
    Reply reply;
    std::thread client([&] { reply = cloud.PostMetadata(); });
    EXPECT_TRUE(cloud.Server().WaitForRequest(1, kDeadline));
    EXPECT_EQ(200, cloud.PostMetadata().status);
    cloud.Server().Stop();
    client.join();
    EXPECT_NE(0, reply.curlCode);
    EXPECT_NE(CURLE_OPERATION_TIMEDOUT, reply.curlCode);
}

TEST(CloudScript, BadScript_IsRefusedWithTheReason)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "not JSON"},
        {R"([{"status":503},])", "not JSON"},
        {R"({"status":503})", "not a JSON array"},
        {R"([503])", "outcome 1: it must be an object"},
        {R"([{},{"stauts":503}])", "outcome 2: there is no member \"stauts\""},
        {R"([{"status":"503"}])", "\"status\" must be a whole number from 200 to 599"},
        {R"([{"status":100}])", "\"status\" must be"},
        {R"([{"delayMs":-1}])", "\"delayMs\" must be"},
        {R"([{"repeat":0}])", "\"repeat\" must be"},
        {R"([{"repeat":"always"}])", "\"repeat\" must be"},
        {R"([{"match":"upload"}])", "\"match\" must be"},
        {R"([{"hang":1}])", "\"hang\" must be"},
        {R"([{"status":503,"headers":["Retry-After"]}])", "\"headers\" must be an object"},
        {R"([{"status":503,"headers":{"Retry-After":"1\r\nX: y"}}])", "\"headers\" must map"},
        {R"([{"status":503,"headers":{"Retry After":"1"}}])", "\"headers\" must map"},
        {R"([{"headers":{"Retry-After":"1"}}])", "need a \"status\""},
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
