#include "CloudClient.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <future>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace
{

constexpr std::chrono::seconds kDeadline{10};

} // namespace

TEST(CloudFault, BrokenHttp_IsAnsweredAndTheConnectionEnded)
{
    DiagCloud::CloudSettings settings;
    settings.maxBodySize = 1000;
    TestCloud cloud({}, settings);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"garbage\r\n\r\n", "HTTP/1.1 400 "},
        {"POST / HTTP/9.9\r\n\r\n", "HTTP/1.1 400 "},
        {"GET / HTTP/1.1\r\nno colon\r\n\r\n", "HTTP/1.1 400 "},
        {"POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", "HTTP/1.1 400 "},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\n", "HTTP/1.1 400 "},
        {"GET / HTTP/1.1\r\nX: " + std::string(70000, 'x') + "\r\n\r\n", "HTTP/1.1 431 "},
        {"POST / HTTP/1.1\r\nContent-Length: 1001\r\nExpect: 100-continue\r\n\r\n", "HTTP/1.1 413 "},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n3e9\r\n" + std::string(1001, 'x'), "HTTP/1.1 413 "},
        {"POST / HTTP/1.1\r\nContent-Length: 1000\r\nConnection: close\r\n\r\n" + std::string(1000, 'x'),
         "HTTP/1.1 404 "},
    };
    for (const auto& [request, answer] : cases) {
        RawClient client(cloud.Server().Port());
        client.Send(request);
        EXPECT_THAT(client.ReadAll(), StartsWith(answer)) << request.substr(0, 60);
        EXPECT_FALSE(client.WasReset());
    }
}

TEST(CloudFault, ClientThatGoesAway_LeavesNothingBehind)
{
    TestCloud cloud;
    const std::string url = cloud.Announce();
    {
        RawClient client(cloud.Server().Port());
        client.Send("POST " + url.substr(cloud.Server().Url().size()) + " HTTP/1.1\r\nContent-Length: 100\r\n\r\npart");
    }
    const auto request = cloud.Server().WaitForRequest(2, kDeadline);
    ASSERT_TRUE(request);
    EXPECT_FALSE(request->complete);
    EXPECT_EQ(4U, request->bodySize);
    EXPECT_EQ(0, request->status);
    EXPECT_THAT(cloud.Stored(), ElementsAre(EndsWith("-metadata.json")));
}

TEST(CloudFault, StuckClients_HinderNeitherOthersNorTheStop)
{
    DiagCloud::Outcome late;
    late.delay = std::chrono::minutes(10);
    TestCloud cloud({late});
    const std::uint16_t port = cloud.Server().Port();
    RawClient silent(port);
    RawClient waiting(port);
    waiting.Send("GET / HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(cloud.Server().WaitForRequest(1, kDeadline));
    RawClient inHeader(port);
    inHeader.Send("POST /senders/");
    RawClient inBody(port);
    inBody.Send("POST /senders/x/metadata HTTP/1.1\r\nContent-Length: 100\r\n\r\n{");
    RawClient idle(port);
    idle.Send("GET / HTTP/1.1\r\n\r\n");
    ASSERT_TRUE(cloud.Server().WaitForRequest(2, kDeadline));

    EXPECT_EQ(200, cloud.PostMetadata().status);
    std::future<void> stop = std::async(std::launch::async, [&] { cloud.Server().Stop(); });
    ASSERT_EQ(std::future_status::ready, stop.wait_for(kDeadline));
    EXPECT_EQ("", silent.ReadAll());
    EXPECT_EQ("", waiting.ReadAll());
    EXPECT_THAT(idle.ReadAll(), StartsWith("HTTP/1.1 404 "));
}

TEST(CloudFault, MoreClientsThanAllowed_WaitTheirTurn)
{
    DiagCloud::CloudSettings settings;
    settings.maxConnections = 2;
    TestCloud cloud({}, settings);
    std::vector<std::future<Reply>> clients(12);
    for (std::future<Reply>& client : clients) {
        client = std::async(std::launch::async, [&] { return cloud.PostMetadata(); });
    }
    for (std::future<Reply>& client : clients) {
        EXPECT_EQ(200, client.get().status);
    }
    EXPECT_EQ(12U, cloud.Stored().size());
}

TEST(CloudFault, StoreThatIsGone_IsAnsweredWith500)
{
    TestCloud cloud;
    const std::string url = cloud.Announce();
    std::filesystem::remove_all(cloud.Folder());
    const Reply reply = cloud.PostMetadata();
    EXPECT_EQ(500, reply.status);
    EXPECT_THAT(reply.body, HasSubstr("cannot make a file"));
    EXPECT_EQ(404, TestCloud::PostArchive(url, "x", "").status);
}
