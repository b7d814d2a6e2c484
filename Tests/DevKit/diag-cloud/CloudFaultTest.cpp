#include "TestCloud.h"

#include <gmock/gmock.h>

#include <future>

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
