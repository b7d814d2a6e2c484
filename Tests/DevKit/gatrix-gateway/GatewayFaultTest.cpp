#include "Gateway.h"
#include "TestClient.h"

#include <gmock/gmock.h>

#include <atomic>

namespace Wire = Gatrix::Wire;
using GatrixGateway::Gateway;
using testing::HasSubstr;
using testing::StartsWith;

TEST(GatewayFault, BadFrame_ClosesTheConnectionWithTheReason)
{
    const Gateway gateway({});
    const struct
    {
        std::string name; ///< Of the client's hello, if it says one.
        std::string frame;
        std::string end;
    } cases[] = {
        {"", Wire::Serialize(Wire::Interest{}), "closed 1008 the first frame must be hello"},
        {"tester", std::string(Wire::kMaxFrameBytes, '['), "closed 1008 not a JSON object"},
        {"tester", R"({"op":"answer"})", "closed 1008 answer: \"id\" must be an unsigned number"},
        {"tester", std::string(Wire::kMaxFrameBytes + 1, ' '), "closed 1009 "},
        {"tester", "{\"op\":\"\xFF\"}", "closed 1007 "},
    };
    for (const auto& [name, frame, end] : cases) {
        TestClient client(gateway.Port(), name);
        client.Send(frame);
        EXPECT_THAT(client.Read(), StartsWith(end));
    }
    TestClient binary(gateway.Port());
    binary.SendRaw("\x82\x80....");
    EXPECT_EQ(binary.Read(), "closed 1003 frames are texts");
}

TEST(GatewayFault, ClientThatDoesNotRead_IsClosedAndOthersGoOn)
{
    GatrixGateway::GatewaySettings settings;
    std::atomic<bool> isClosed{false};
    settings.writer = [&](const std::string& line) {
        isClosed = isClosed || line.find("slow is dropped: 1013 frames are not read in time") != std::string::npos;
    };
    const Gateway gateway(settings);
    TestClient slow(gateway.Port(), "slow");
    slow.Send(Wire::Subscribe{"/slow", 1});
    slow.Handle("/slow");
    TestClient sender(gateway.Port());
    // Requests stop short of the bound, notifications do not.
    const std::string large = "\"" + std::string(500000, 'x') + "\"";
    std::string refusal;
    for (std::uint64_t id = 1; refusal.find("/slow") == std::string::npos; ++id) {
        ASSERT_LT(id, 100U);
        sender.Ask(id, "/slow", large);
        sender.Ask(0, "/none", "0");
        refusal = sender.Read();
    }
    EXPECT_THAT(refusal, HasSubstr("\"statusCode\":503"));
    EXPECT_FALSE(isClosed);
    for (int count = 0; count < 100 && !isClosed; ++count) {
        sender.Send(Wire::Notify{"/slow", 1, large});
        sender.Ask(0, "/none", "0");
        while (sender.Read().find("/none") == std::string::npos) {
        }
    }
    EXPECT_TRUE(isClosed);
}

TEST(GatewayFault, ConnectionThatIsLeftOpen_GivesItsPlaceAway)
{
    const std::string handshake =
        "GET / HTTP/1.1\r\nHost: x\r\nConnection: upgrade\r\nUpgrade: websocket\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n";
    using Limits = GatrixGateway::ConnectionLimits;
    const struct
    {
        const char* what;
        std::string bytes;
        std::chrono::milliseconds Limits::*limit;
    } cases[] = {
        {"a handshake begun", "GET / HTTP/1.1\r\n", &Limits::helloTime},
        {"half a hello", handshake + "\x81\x90....{", &Limits::helloTime},
        {"no WebSocket", "GET / HTTP/1.1\r\n\r\n", &Limits::closeTime},
        {"closed by the client", handshake + "\x88\x80....", &Limits::closeTime},
    };
    for (const auto& [what, bytes, limit] : cases) {
        SCOPED_TRACE(what);
        GatrixGateway::GatewaySettings settings;
        settings.limits.connections = 2;
        settings.limits.helloTime = settings.limits.closeTime = std::chrono::hours(1);
        settings.limits.*limit = std::chrono::milliseconds(100);
        const Gateway gateway(settings);
        TestClient resident(gateway.Port());
        resident.Handle("/resident");
        WebSocketPeer lingering;
        lingering.Connect(gateway.Port());
        lingering.SendRaw(bytes);
        // Waits for the last place.
        TestClient(gateway.Port()).Handle("/next");
        resident.Handle("/still-here");
    }
}
