#include "Gateway.h"
#include "TestClient.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace
{
namespace Wire = Gatrix::Wire;
using GatrixGateway::Gateway;
using testing::HasSubstr;
using testing::StartsWith;

/** Two clients that talk to each other, on a thread of their own, as long as it lives. */
class Conversation
{
public:
    explicit Conversation(const Gateway& gateway)
        : m_thread([this, &gateway] {
              TestClient handler(gateway.Port());
              handler.Handle("/undisturbed");
              TestClient requester(gateway.Port());
              for (std::uint64_t id = 0; !m_isOver || id < 10; ++id) {
                  const std::string body = "\"" + std::string(id % 1000, 'x') + "\"";
                  requester.Ask(id, "/undisturbed", body);
                  handler.AnswerWithBody();
                  EXPECT_EQ(requester.Read(), Wire::Serialize(Wire::Answer{id, body}));
              }
          })
    {}
    ~Conversation()
    {
        m_isOver = true;
        m_thread.join();
    }

private:
    std::atomic<bool> m_isOver{false};
    std::thread m_thread;
};
} // namespace

TEST(GatewayFault, BadFrame_ClosesTheConnectionWithTheReason)
{
    const Gateway gateway({});
    const Conversation conversation(gateway);
    const std::pair<std::string, std::string> cases[] = {
        {Wire::Serialize(Wire::Interest{}), "closed 1008 the first frame must be hello"},
        {std::string(Wire::kMaxFrameBytes, '['), "closed 1008 not a JSON object"},
        {R"({"op":"answer"})", "closed 1008 answer: \"id\" must be an unsigned number"},
        {std::string(Wire::kMaxFrameBytes + 1, ' '), "closed 1009 "},
        {"{\"op\":\"\xFF\"}", "closed 1007 "},
        {"\x82\x80....", "closed 1003 frames are texts"},
    };
    for (const auto& [frame, end] : cases) {
        TestClient client(gateway.Port(), frame.find("interest") == std::string::npos ? "tester" : "");
        frame[0] == '\x82' ? client.SendRaw(frame) : client.Send(frame);
        EXPECT_THAT(client.Read(), StartsWith(end));
    }
}

TEST(GatewayFault, ClientThatDoesNotRead_IsClosedAndOthersGoOn)
{
    GatrixGateway::GatewaySettings settings;
    std::atomic<bool> isClosed{false};
    settings.writer = [&](const std::string& line) {
        isClosed = isClosed || line.find("slow is dropped: 1013 frames are not read in time") != std::string::npos;
    };
    const Gateway gateway(settings);
    const Conversation conversation(gateway);
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
    const std::pair<std::string, std::chrono::milliseconds Limits::*> cases[] = {
        {"GET / HTTP/1.1\r\n", &Limits::helloTime},        // a handshake begun
        {handshake + "\x81\x90....{", &Limits::helloTime}, // half a hello
        {"GET / HTTP/1.1\r\n\r\n", &Limits::closeTime},    // no WebSocket
        {handshake + "\x88\x80....", &Limits::closeTime},  // closed by the client
        {handshake + "\x81\1x", &Limits::closeTime},       // not masked
    };
    for (const auto& [bytes, limit] : cases) {
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
        TestClient(gateway.Port()).Handle("/next"); // waits for the last place
        resident.Handle("/still-here");
    }
}
