#include "Deadline.h"
#include "Gateway.h"
#include "GatrixWire.h"
#include "WebSocketPeer.h"

#include <gmock/gmock.h>

#include <future>
#include <system_error>

namespace
{
namespace Wire = Gatrix::Wire;
using GatrixGateway::Gateway;
using testing::HasSubstr;
using testing::StartsWith;

/** A service's end of the wire. */
class TestClient : public WebSocketPeer
{
public:
    /** @param name that it says hello with; says nothing when empty */
    explicit TestClient(std::uint16_t port, const std::string& name = "tester", const char* address = "127.0.0.1")
    {
        Connect(port, address);
        ShakeHands();
        if (!name.empty()) {
            Send(Wire::Hello{name, "linux"});
        }
    }

    using WebSocketPeer::Send;
    void Send(const Wire::Frame& frame) { Send(Wire::Serialize(frame)); }

    /** Registers an endpoint for GET, and waits until the gateway knows. */
    void Handle(const std::string& endpoint)
    {
        Send(Wire::Register{Gatrix::Method::GET, endpoint, 1, "g"});
        Send(Wire::Interest{{endpoint}});
        EXPECT_EQ(Read(), Wire::Serialize(Wire::Ready{{endpoint}}));
    }

    /** Asks for an endpoint by GET, with a body of JSON text. */
    void Ask(std::uint64_t id, const std::string& endpoint, const std::string& body)
    {
        Send(Wire::Request{id, Gatrix::Method::GET, endpoint, 1, body});
    }
};
} // namespace

TEST(Gateway, ClientThatGoes_IsMissedAtOnce)
{
    GatrixGateway::GatewaySettings settings;
    settings.limits.closeTime = std::chrono::hours(1);
    const Gateway gateway(settings);
    TestClient requester(gateway.Port());
    requester.Send(Wire::Interest{{"/here"}});
    // Nothing, a binary frame, a close frame, the header of a frame that is too large, a frame that is not masked.
    for (const std::string lastWord : {"", "\x82\x80....", "\x88\x80....", "\x81\xFF\1...........", "\x81\1x"}) {
        auto handler = std::make_unique<TestClient>(gateway.Port());
        handler->Send(Wire::Register{Gatrix::Method::GET, "/here", 1, "g"});
        EXPECT_THAT(requester.Read(), HasSubstr("\"ready\""));
        requester.Ask(7, "/here", "0");
        requester.Ask(8, "/here", "0");
        EXPECT_THAT(handler->Read(), HasSubstr("\"request\""));
        EXPECT_THAT(handler->Read(), HasSubstr("\"request\""));
        lastWord.empty() ? handler.reset() : handler->SendRaw(lastWord);
        EXPECT_THAT(requester.Read(),
                    AllOf(HasSubstr("\"id\":7"), HasSubstr("\"statusCode\":503"), HasSubstr("/here")));
        EXPECT_THAT(requester.Read(), HasSubstr("\"id\":8"));
        EXPECT_EQ(requester.Read(), Wire::Serialize(Wire::NotReady{{"/here"}}));
    }
}

TEST(Gateway, Stop_ClosesItsClientsAndFreesThePortAndAllThatHappenedIsPrinted)
{
    std::string lines;
    GatrixGateway::GatewaySettings settings;
    settings.limits.closeTime = std::chrono::milliseconds(100);
    settings.verbose = true;
    settings.writer = [&lines](const std::string& line) { lines += line + '\n'; };
    Gateway gateway(settings);
    TestClient client(gateway.Port(), "a\nb\x1B", "::1");
    client.Handle("/x");
    settings.port = gateway.Port();
    EXPECT_THROW(Gateway{settings}, std::system_error);
    std::future<std::string> end = std::async(std::launch::async, [&client] { return client.Read(); });
    gateway.Stop();
    EXPECT_EQ(end.get(), "closed 1001 the gateway ends");
    EXPECT_EQ(Gateway(settings).Port(), settings.port);
    for (const char* line : {"#1 a?b? came, platform linux\n", "#1 a?b? handles GET /x, group g\n",
                             "#1 a?b? is ready: /x\n", "#1 a?b? > {", "#1 a?b? < {"}) {
        EXPECT_THAT(lines, HasSubstr(line));
    }
}

TEST(Gateway, BadFrame_ClosesTheConnectionWithTheReason)
{
    const Gateway gateway({});
    const struct
    {
        std::string name; ///< Of the client's hello, if it says one.
        std::string frame;
        std::string end;
        bool isText = true;
    } cases[] = {
        {"", Wire::Serialize(Wire::Interest{}), "closed 1008 the first frame must be hello"},
        {"tester", std::string(Wire::kMaxFrameBytes, '['), "closed 1008 not a JSON object"},
        {"tester", R"({"op":"answer"})", "closed 1008 answer: \"id\" must be an unsigned number"},
        {"tester", std::string(Wire::kMaxFrameBytes + 1, ' '), "closed 1009 "},
        {"tester", "{\"op\":\"\xFF\"}", "closed 1007 "},
        {"tester", "{}", "closed 1003 frames are texts", false},
    };
    for (const auto& [name, frame, end, isText] : cases) {
        TestClient client(gateway.Port(), name);
        client.Send(frame, isText);
        EXPECT_THAT(client.Read(), StartsWith(end));
    }
}

TEST(Gateway, ClientThatDoesNotRead_IsClosedAndOthersGoOn)
{
    GatrixGateway::GatewaySettings settings;
    settings.limits.closeTime = kDeadline;
    const Gateway gateway(settings);
    TestClient slow(gateway.Port(), "slow");
    slow.Send(Wire::Subscribe{"/slow", 1});
    slow.Handle("/slow");
    TestClient sender(gateway.Port());
    const std::string large = "\"" + std::string(500000, 'x') + "\"";
    // Requests stop short of the bound, notifications do not.
    for (const bool isNotified : {false, true}) {
        const std::string refusal = isNotified ? "nobody handles GET /slow" : "does not keep up with requests such as";
        std::string answer;
        for (int count = 0; answer.find(refusal) == std::string::npos; ++count) {
            ASSERT_LT(count, 100);
            sender.Send(Wire::Notify{"/slow", 1, isNotified ? large : "0"});
            sender.Ask(1, "/slow", isNotified ? "0" : large);
            sender.Ask(2, "/none", "0");
            answer = sender.Read();
        }
    }
    std::string last;
    for (int count = 0; count < 100 && last.find("closed") == std::string::npos; ++count) {
        last = slow.Read();
    }
    EXPECT_EQ(last, "closed 1013 frames are not read in time");
}

TEST(Gateway, ConnectionThatIsLeftOpen_GivesItsPlaceAway)
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
