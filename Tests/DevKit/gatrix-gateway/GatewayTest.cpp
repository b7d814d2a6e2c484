#include <gmock/gmock.h>

#include <future>
#include <memory>
#include <system_error>
#include <vector>

#include "TestClient.h"
#include "TestGateway.h"

namespace
{
namespace Wire = Gatrix::Wire;
using testing::HasSubstr;
} // namespace

TEST(Gateway, Bodies_TravelAsTheyAre)
{
    const TestGateway gateway;
    TestClient handler(gateway.Port(), "handler", "::1");
    handler.Handle("/echo");
    TestClient asker(gateway.Port());
    for (const std::string body : {R"({"b":[1.10,1e300,18446744073709551616],"a":{"":null}})",
                                   R"("\ud83d\ude00 \u0000")", "\"\xC3\xA9\"", "null", "7", "[]"}) {
        asker.Send(Wire::Request{18446744073709551615U, Gatrix::Method::GET, "/echo", 1.5, body});
        const std::string request = handler.Read();
        EXPECT_THAT(request, AllOf(HasSubstr("\"body\":" + body), HasSubstr("\"version\":1.5"))) << body;
        const std::uint64_t id = std::get<Wire::Request>(Wire::Parse(request)).id;
        handler.Send(Wire::Answer{id, body});
        EXPECT_EQ(asker.Read(), Wire::Serialize(Wire::Answer{18446744073709551615U, body}));
    }
    asker.Send(R"({"op":"request","id":1,"method":"GET","endpoint":"/echo","version":1,"later":{"x":1}})");
    EXPECT_THAT(handler.Read(), Not(testing::AnyOf(HasSubstr("body"), HasSubstr("later"))));
    handler.Send(R"({"op":"error","id":7,"error":{"statusCode":400,"message":"busy"}})");
    EXPECT_THAT(asker.Read(), HasSubstr("\"message\":\"busy\""));
}

TEST(Gateway, Frames_KeepTheirOrder)
{
    const TestGateway gateway;
    TestClient handler(gateway.Port(), "handler");
    handler.Send(Wire::Subscribe{"/in-order", 1});
    handler.Handle("/in-order");
    TestClient sender(gateway.Port());
    constexpr int kFrames = 500;
    for (int number = 0; number < kFrames; ++number) {
        sender.Send(Wire::Notify{"/in-order", 1, std::to_string(number)});
        sender.Send(Wire::Request{7, Gatrix::Method::GET, "/in-order", 1, std::to_string(number)});
    }
    for (int number = 0; number < kFrames; ++number) {
        EXPECT_THAT(handler.Read(), AllOf(HasSubstr("notify"), HasSubstr("\"body\":" + std::to_string(number) + "}")));
        EXPECT_THAT(handler.Read(), AllOf(HasSubstr("request"), HasSubstr("\"body\":" + std::to_string(number) + "}")));
    }
}

TEST(Gateway, TwoHundredClients_AskTheirNeighbours)
{
    const TestGateway gateway;
    constexpr std::size_t kClients = 200;
    std::vector<std::unique_ptr<TestClient>> clients;
    for (std::size_t number = 0; number < kClients; ++number) {
        clients.push_back(std::make_unique<TestClient>(gateway.Port()));
        clients.back()->Handle("/" + std::to_string(number));
    }
    for (std::size_t number = 0; number < kClients; ++number) {
        const std::string neighbour = std::to_string((number + 1) % kClients);
        clients[number]->Send(Wire::Request{number, Gatrix::Method::GET, "/" + neighbour, 1, neighbour});
    }
    for (const auto& client : clients) {
        EXPECT_TRUE(client->AnswerWithBody());
    }
    for (std::size_t number = 0; number < kClients; ++number) {
        EXPECT_EQ(clients[number]->Read(),
                  Wire::Serialize(Wire::Answer{number, std::to_string((number + 1) % kClients)}));
    }
}

TEST(Gateway, ClientThatGoes_IsMissedByThoseWhoWait)
{
    TestGateway gateway;
    TestClient asker(gateway.Port(), "asker");
    asker.Send(Wire::Interest{{"/here"}});
    for (const char* const way : {"close", "cut", "break"}) {
        TestClient handler(gateway.Port(), way);
        handler.Send(Wire::Register{Gatrix::Method::GET, "/here", 1, "g"});
        EXPECT_THAT(asker.Read(), HasSubstr("\"ready\"")) << way;
        asker.Send(Wire::Request{7, Gatrix::Method::GET, "/here", 1, {}});
        EXPECT_THAT(handler.Read(), HasSubstr("\"request\""));
        if (way == std::string("close")) {
            boost::asio::write(handler.Socket(), boost::asio::buffer("\x88\x80\0\0\0\0", 6));
        } else if (way == std::string("cut")) {
            handler.Socket().close();
        } else {
            handler.Send("{}");
        }
        EXPECT_THAT(asker.Read(), AllOf(HasSubstr("\"statusCode\":503"), HasSubstr("/here"))) << way;
        EXPECT_EQ(asker.Read(), Wire::Serialize(Wire::NotReady{{"/here"}}));
    }
    EXPECT_TRUE(gateway.WaitFor("break is dropped: 1008"));
}

TEST(Gateway, Stop_ClosesItsClientsAndFreesThePort)
{
    GatrixGateway::GatewaySettings settings;
    settings.limits.closeTime = std::chrono::milliseconds(100);
    for (int round = 0; round < 3; ++round) {
        GatrixGateway::Gateway gateway(settings);
        settings.port = gateway.Port();
        TestClient client(gateway.Port());
        client.Handle("/x");
        TestClient unready(gateway.Port());
        const TestClient unreading(gateway.Port());
        unready.Socket().close();
        EXPECT_THROW(GatrixGateway::Gateway{settings}, std::system_error);
        std::future<std::string> end = std::async(std::launch::async, [&client] { return client.Read(); });
        gateway.Stop();
        EXPECT_EQ(end.get(), "closed 1001 the gateway ends");
    }
}
