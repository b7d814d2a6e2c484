#include "Script.h"
#include "StringUtils.h"
#include "TestCloud.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <future>
#include <stdexcept>

using testing::EndsWith;
using testing::HasSubstr;

TEST(CloudUpload, MetadataAndArchive_AreStoredAndRecorded)
{
    const std::string content(8388608, '\0');
    std::vector<std::string> lines;
    DiagCloud::CloudSettings settings;
    settings.writer = [&lines](const std::string& line) { lines.push_back(line); };
    TestCloud cloud("[]", settings);
    const std::string path = cloud.Announce();
    // A client that did not get the answer sends the archive again.
    EXPECT_THAT(cloud.Ask("POST " + path, "Content-MD5: d41d8cd98f00b204e9800998ecf8427e\r\n"),
                Answer(200, R"("size":0)"));
    EXPECT_THAT(cloud.Ask("POST " + path, "Content-MD5: 96995b58d4cbf6aaa9041b4f00c7f6ae\r\n", content),
                Answer(200, R"("size":8388608)"));
    const auto metadata = cloud.Request(1);
    const auto archive = cloud.Request(3);
    EXPECT_EQ(metadata.target, "http://diagnostics.vantor.example/senders/GUID-1/metadata");
    EXPECT_EQ(metadata.headers.at("X-Product-Token"), "secret-token");
    EXPECT_EQ(archive.productId, "GUID-1");
    EXPECT_EQ(archive.archivePath, cloud.Folder() + "/" + metadata.archiveId + ".tar.gz");
    EXPECT_TRUE(ReadWholeFile(archive.archivePath) == content);
    EXPECT_EQ(ReadWholeFile(cloud.Folder() + "/" + metadata.archiveId + "-metadata.json"), TestCloud::kMetadata);
    EXPECT_EQ(cloud.Stored(), 2U);

    cloud.Stop();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("GUID-1, token present -> 200 announces archive " + archive.archiveId));
    EXPECT_THAT(lines[0], Not(HasSubstr("secret-token")));
    EXPECT_THAT(lines[2], HasSubstr("8388608 bytes, Content-MD5 matches"));
}

TEST(CloudUpload, BadRequest_IsRefusedWithTheReasonAndNothingStored)
{
    const TestCloud cloud;
    const auto changed = [](const char* from, const char* to) {
        return StringUtils::FindReplace(TestCloud::kMetadata, from, to);
    };
    const std::string metadata = "POST /senders/GUID-1/metadata";
    const std::string path = cloud.Announce();
    const struct
    {
        std::string requestLine;
        std::string headers;
        int status;
        const char* part;
        std::string body = TestCloud::kContent;
    } cases[] = {
        {metadata, "", 400, "not a JSON object", "[]"},
        {metadata, "", 400, R"(no text \"softwareVersion\")",
         changed(R"("softwareVersion":"1.0")", R"("softwareVersion":1)")},
        {metadata, "", 400, R"(\"productId\" is not the product id of the path)", changed("GUID-1", "GUID-2")},
        {metadata, "", 400, R"(\"uploadTimeStamp\" is not a time)", changed("05Z", "05+00:00")},
        {metadata, "", 400, R"(an entry of \"uploadedItems\")", changed("subType", "subtype")},
        {metadata, "", 413, "", std::string(2000000, ' ')},
        {"POST " + path, "", 400, "Content-MD5 is missing"},
        {"POST " + path, "Content-MD5: d41d8cd98f00b204e9800998ecf8427e\r\n", 400, "does not match the archive"},
        {"POST " + path, "Content-MD5: 9E107D9D372BB6826BD81D3542A419D6\r\n", 400, "32 lower-case hexadecimal digits"},
        {"POST " + path + '0', TestCloud::kMd5, 404, "no metadata announced this archive"},
        {"POST /senders/a/b/metadata", "", 404, "no such path"},
        {"GET http://127.0.0.1/", "", 404, "no such path"},
        {"GET " + path, "", 405, "Allow: POST\r\n"},
        {"DELETE /senders/x/metadata?y=z", "", 405, "only POST"},
    };
    for (const auto& [requestLine, headers, status, part, body] : cases) {
        EXPECT_THAT(cloud.Ask(requestLine, headers, body), Answer(status, part)) << requestLine;
    }
    EXPECT_EQ(cloud.Stored(), 1U);
}

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
        {R"([{"status":199}])", "\"status\" must be a whole number from 200 to 599"},
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

TEST(CloudFault, BrokenHttp_IsAnsweredAndTheConnectionEnded)
{
    DiagCloud::CloudSettings settings;
    settings.maxBodySize = 1000;
    const TestCloud cloud("[]", settings);
    const std::string chunked = "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::pair<std::string, int> cases[] = {
        {"garbage\r\n\r\n", 400},
        {chunked + "xyz\r\n", 400},
        {"GET / HTTP/1.1\r\nX: " + std::string(70000, 'x') + "\r\n\r\n", 431},
        {"POST / HTTP/1.1\r\nContent-Length: 1001\r\nExpect: 100-continue\r\n\r\n", 413},
        {chunked + "100000\r\n" + std::string(0x100000, 'x'), 413},
        {"GET / HTTP/1.1\r\nConnection: close\r\nX: " + std::string(60000, 'x') + "\r\n\r\n", 404},
        {"POST / HTTP/1.1\r\nContent-Length: 1000\r\nConnection: close\r\n\r\n" + std::string(1000, 'x'), 404},
        {"POST / HTTP/1.1\r\nContent-Length: 1\r\nExpect: 100-continue\r\nConnection: close\r\n\r\nx", 100},
    };
    for (const auto& [request, status] : cases) {
        EXPECT_THAT(Client(cloud, request).ReadAll(), Answer(status)) << request.substr(0, 60);
    }
}

TEST(CloudFault, ClientBeyondTheLimit_WaitsForAnotherToGo)
{
    DiagCloud::CloudSettings settings;
    settings.maxConnections = 1;
    const TestCloud cloud("[]", settings);
    auto first = std::make_unique<Client>(cloud, "GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(cloud.WaitForRequest(1, kDeadline));
    const Client second(cloud, "GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_FALSE(cloud.WaitForRequest(2, std::chrono::milliseconds(100)));
    first.reset();
    EXPECT_THAT(second.ReadAll(), Answer(404));
}

TEST(CloudFault, ClientThatGoesAway_LeavesNothingBehind)
{
    const TestCloud cloud;
    const std::string path = cloud.Announce();
    std::make_unique<Client>(cloud, "POST " + path + " HTTP/1.1\r\nContent-Length: 100\r\n\r\npart").reset();
    EXPECT_FALSE(cloud.Request(2).complete);
    EXPECT_EQ(cloud.Request(2).bodySize, 4U);
    EXPECT_EQ(cloud.Stored(), 1U);
}

TEST(CloudFault, StuckClients_HinderNeitherOthersNorTheStop)
{
    TestCloud cloud(R"([{"delayMs": 600000}, {"hang": true}])");
    const std::string request = "GET / HTTP/1.1\r\n\r\n";
    const Client waiting(cloud, request);
    cloud.Request(1);
    const Client hung(cloud, request);
    cloud.Request(2);
    const Client silent(cloud, "");
    const Client inHeader(cloud, "POST /senders/");
    const Client inBody(cloud, "POST /senders/x/metadata HTTP/1.1\r\nContent-Length: 100\r\n\r\n{");
    const Client idle(cloud, request);
    cloud.Request(3);

    EXPECT_THAT(cloud.PostMetadata(), Answer(200));
    const std::future<void> stop = std::async(std::launch::async, [&] { cloud.Stop(); });
    ASSERT_EQ(stop.wait_for(kDeadline), std::future_status::ready);
    EXPECT_EQ(silent.ReadAll() + hung.ReadAll() + waiting.ReadAll(), "");
    EXPECT_THAT(idle.ReadAll(), Answer(404));
}
