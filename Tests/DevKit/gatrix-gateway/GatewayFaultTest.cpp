#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <random>
#include <tuple>

#include "Sanitized.h"
#include "TestClient.h"
#include "TestGateway.h"

namespace
{
namespace Wire = Gatrix::Wire;
using GatrixGateway::ConnectionLimits;
using testing::HasSubstr;
using testing::StartsWith;

void WriteRaw(TestClient& client, const std::string& bytes)
{
    boost::asio::write(client.Socket(), boost::asio::buffer(bytes));
}

/** Two clients that talk to each other on a thread of their own, until they are told to end. */
class Conversation
{
public:
    explicit Conversation(std::uint16_t port) : m_thread([this, port] { Talk(port); }) {}
    ~Conversation()
    {
        m_isOver = true;
        m_thread.join();
        EXPECT_GT(m_answers.load(), 0U);
    }
    std::size_t Answers() const { return m_answers; }

private:
    void Talk(std::uint16_t port)
    {
        TestClient handler(port, "undisturbed handler");
        handler.Handle("/undisturbed");
        TestClient asker(port, "undisturbed asker");
        bool isGood = true;
        while (isGood && !m_isOver) {
            const std::string body = "\"" + std::string(m_answers % 1000, 'x') + "\"";
            asker.Send(Wire::Request{m_answers, Gatrix::Method::GET, "/undisturbed", 1, body});
            isGood = handler.AnswerWithBody() && asker.Read() == Wire::Serialize(Wire::Answer{m_answers, body});
            EXPECT_TRUE(isGood) << "disturbed after " << m_answers;
            ++m_answers;
        }
    }

    std::atomic<bool> m_isOver{false};
    std::atomic<std::size_t> m_answers{0};
    std::thread m_thread;
};

std::string Mutated(std::string text, std::mt19937& random)
{
    const auto below = [&random](std::size_t bound) { return static_cast<std::size_t>(random() % bound); };
    for (std::size_t count = 1 + below(3); count > 0 && !text.empty(); --count) {
        const std::size_t at = below(text.size());
        switch (below(5)) {
            case 0:
                text[at] = static_cast<char>(below(256));
                break;
            case 1:
                text.erase(at, 1 + below(8));
                break;
            case 2:
                text.insert(at, 1, "{}[]\",:\\09-eu"[below(13)]);
                break;
            case 3:
                text.insert(at, text.substr(below(text.size()), below(20)));
                break;
            default:
                text.resize(at + 1);
        }
    }
    return text;
}
} // namespace

TEST(GatewayFault, BadFrame_ClosesTheConnectionWithTheReason)
{
    const TestGateway gateway;
    const Conversation conversation(gateway.Port());
    const std::string hello = Wire::Serialize(Wire::Hello{"n", "p"});
    const std::size_t most = Wire::kMaxFrameBytes;
    const std::tuple<std::vector<std::string>, std::string> cases[] = {
        {{Wire::Serialize(Wire::Interest{})}, "closed 1008 the first frame must be hello"},
        {{""}, "closed 1008 "},
        {{hello, "[]"}, "closed 1008 not a JSON object"},
        {{hello, std::string(most, '[')}, "closed 1008 not a JSON object"},
        {{hello, R"({"op":"ask"})"}, "closed 1008 \"op\" is unknown"},
        {{hello, R"({"op":"answer"})"}, "closed 1008 answer: \"id\" must be an unsigned number"},
        {{hello, R"({"op":"ready","endpoints":[]})"}, "closed 1008 ready is for the gateway to send"},
        {{hello, std::string(most + 1, ' ')}, "closed 1009 "},
        {{hello, "{\"op\":\"\xFF\"}"}, "closed 1007 "},
        {{"binary"}, "closed 1003 frames are texts"},
    };
    for (const auto& [frames, end] : cases) {
        TestClient client(gateway.Port(), "");
        for (const std::string& frame : frames) {
            client.Send(frame, frame == "binary");
        }
        EXPECT_THAT(client.Read(), StartsWith(end));
    }
}

TEST(GatewayFault, BrokenFrames_DisturbNobody)
{
    const TestGateway gateway;
    const Conversation conversation(gateway.Port());
    const std::string valid[] = {
        Wire::Serialize(Wire::Hello{"fuzz", "p"}),
        Wire::Serialize(Wire::Interest{{"/f", "/g"}}),
        Wire::Serialize(Wire::Register{Gatrix::Method::POST, "/f", 1.5, "g"}),
        Wire::Serialize(Wire::Subscribe{"/f", 1}),
        Wire::Serialize(Wire::Request{1, Gatrix::Method::POST, "/f", 1, R"({"a":[1,{"b":"\u00e9"}]})"}),
        Wire::Serialize(Wire::Answer{1, "[1e10,null]"}),
        Wire::Serialize(Wire::Refusal{1, 400, "no"}),
        Wire::Serialize(Wire::Notify{"/f", 1, "true"}),
    };
    std::mt19937 random(20261121);
    auto client = std::make_unique<TestClient>(gateway.Port());
    for (int round = 0; round < (kIsSanitized ? 1000 : 4000); ++round) {
        const std::string frame = Mutated(valid[random() % std::size(valid)], random);
        client->Send(frame);
        bool isGood = true;
        try {
            isGood = Wire::Parse(frame).index() < 8; // what a client sends
        } catch (const Wire::FrameError&) {
            isGood = false;
        }
        if (!isGood || round % 50 == 0) {
            client->Send("{}");
            std::string end = client->Read();
            while (end[0] == '{') { // what the good frames brought about
                end = client->Read();
            }
            ASSERT_THAT(end, testing::AnyOf(StartsWith("closed 1008 "), StartsWith("closed 1007 "))) << frame;
            client = std::make_unique<TestClient>(gateway.Port());
        }
    }
}

TEST(GatewayFault, FrameTooLargeForItsReceiver_IsRefusedToTheAsker)
{
    TestGateway gateway;
    TestClient client(gateway.Port());
    client.Handle("/\xC3\xA9"); // takes more bytes on its way out
    client.Send(Wire::Subscribe{"/\xC3\xA9", 1});
    const auto frame = [](const std::string& head, std::size_t size) {
        return head + std::string(size - head.size() - 2, 'x') + "\"}";
    };
    const std::string request =
        "{\"op\":\"request\",\"id\":5,\"method\":\"GET\",\"endpoint\":\"/\xC3\xA9\",\"version\":1,"
        "\"body\":\"";
    client.Send(frame(request, Wire::kMaxFrameBytes));
    EXPECT_THAT(client.Read(), AllOf(HasSubstr("\"id\":5,"), HasSubstr("\"statusCode\":413")));
    client.Send(frame(request, Wire::kMaxFrameBytes - 100));
    const std::uint64_t id = std::get<Wire::Request>(Wire::Parse(client.Read())).id;
    const std::string answer = "{\"id\":" + std::to_string(id) + ",\"op\":\"answer\",\"body\":\"";
    client.Send(frame(answer, Wire::kMaxFrameBytes));
    EXPECT_THAT(client.Read(), testing::SizeIs(Wire::kMaxFrameBytes));
    client.Send(frame("{\"op\":\"notify\",\"endpoint\":\"/\xC3\xA9\",\"version\":1,\"body\":\"", Wire::kMaxFrameBytes));
    EXPECT_TRUE(gateway.WaitFor("is dropped: too large for a frame"));
}

TEST(GatewayFault, ClientThatDoesNotRead_IsClosedAndOthersGoOn)
{
    ConnectionLimits limits;
    limits.closeTime = std::chrono::milliseconds(200);
    TestGateway gateway(limits);
    const Conversation conversation(gateway.Port());
    TestClient slow(gateway.Port(), "slow");
    slow.Send(Wire::Subscribe{"/flood", 1});
    slow.Handle("/slow");
    TestClient sender(gateway.Port());

    // Requests stop short of the bound.
    const std::string large = "\"" + std::string(500000, 'x') + "\"";
    std::string answer;
    for (std::uint64_t id = 1; answer.empty(); ++id) {
        sender.Send(Wire::Request{id, Gatrix::Method::GET, "/slow", 1, large});
        sender.Send(Wire::Request{0, Gatrix::Method::GET, "/none", 1, {}});
        const std::string next = sender.Read();
        answer = next.find("/slow") == std::string::npos ? "" : next;
        ASSERT_LT(id, 100U);
    }
    EXPECT_THAT(answer, HasSubstr("\"statusCode\":503"));
    // Notifications do not.
    std::atomic<bool> isClosed{false};
    const auto closed = std::async(
        std::launch::async, [&] { isClosed = gateway.WaitFor("slow is dropped: 1013 frames are not read in time"); });
    while (!isClosed && closed.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) {
        sender.Send(Wire::Notify{"/flood", 1, large});
    }
    const std::size_t before = conversation.Answers();
    EXPECT_TRUE(WaitUntil([&] { return conversation.Answers() > before + 10; }));
    EXPECT_THAT(sender.Read(), HasSubstr("\"statusCode\""));
}

TEST(GatewayFault, ConnectionThatIsLeftOpen_GivesItsPlaceAway)
{
    const std::string header("\x81\xFF\0\0\0\0\0\x10\0\x01", 10); // of a frame that is one byte too long
    const std::pair<std::string, std::string> cases[] = {
        {"only connected", ""},
        {"handshake begun", "GET / HTTP/1.1\r\n"},
        {"no WebSocket", "GET / HTTP/1.1\r\n\r\n"},
        {"no hello", "connected"},
        {"half a hello", std::string("\x81\x90\0\0\0\0{", 7)},
        {"closed by the client", std::string("\x88\x80\0\0\0\0", 6)},
        {"too large", header + std::string(4, '\0')},
        {"reserved bits", std::string("\xF1\x80\0\0\0\0", 6)},
        {"not masked", std::string("\x81\x01x", 3)},
    };
    ConnectionLimits limits;
    limits.connections = 1;
    limits.helloTime = std::chrono::milliseconds(300);
    limits.closeTime = std::chrono::milliseconds(100);
    const TestGateway gateway(limits);
    for (const auto& [name, bytes] : cases) {
        SCOPED_TRACE(name);
        boost::asio::io_context context;
        boost::asio::ip::tcp::socket socket(context);
        std::unique_ptr<TestClient> client;
        if (bytes.empty() || bytes[0] == 'G') {
            socket.connect({boost::asio::ip::address_v4::loopback(), gateway.Port()});
            boost::asio::write(socket, boost::asio::buffer(bytes));
        } else {
            client = std::make_unique<TestClient>(gateway.Port(), "");
            WriteRaw(*client, bytes[0] == 'c' ? "" : bytes);
        }
        TestClient(gateway.Port()).Handle("/next"); // waits for the only place
    }
}
