#include "ChildProcess.h"
#include "GatrixClientFixture.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <future>

using namespace testing; // NOLINT(google-build-using-namespace): its matchers

constexpr char kGetForNine[] = R"({"op":"request","id":9,"version":1,"endpoint":"/g","method":"GET"})";

TEST_F(GatrixClientTest, DroppedConnection_EndsWhatWasOnItAndIsMadeAgain)
{
    Connect();
    client->RegisterGetHandler<Response>("/g", probe.get, "G");
    client->SendGetRequest("/r", "1", 1.0, probe.raw, probe.refused);
    gateway->Read();
    gateway->Read();
    gateway->Send(kGetForNine);
    EXPECT_EQ(probe.Next(), "get");
    const Reply late = probe.TakeReply();

    const auto start = std::chrono::steady_clock::now();
    const std::uint16_t port = std::exchange(gateway, nullptr)->Port();
    EXPECT_EQ(probe.Next(), "refused 503 /r: the connection to the gateway ended before the answer");
    EXPECT_EQ(probe.Next(), "dropped");
    EXPECT_THAT(probe.Next(), StartsWith("connection failed: the connection to the gateway is lost: "));
    EXPECT_THAT(probe.Next(), HasSubstr("still trying: Connection refused"));
    client->SendGetRequest("/r", "2", 1.0, probe.raw, probe.refused);
    EXPECT_EQ(probe.Next(), "refused 503 /r: there is no connection to the gateway");
    client->RegisterGetHandler<Response>("/g", probe.get, "G");
    client->SendNotification("/n", Request(), 1.0);

    gateway = std::make_unique<ScriptedGateway>(port);
    EXPECT_THAT(gateway->Accept(), HasSubstr("hello"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50 + 100));
    EXPECT_EQ(probe.Next(), "connected");
    late.second(Gatrix::MakeError(400, "for the connection before"));
    gateway->Send(R"({"op":"answer","id":1,"body":1})");
    gateway->Send(kGetForNine);
    EXPECT_EQ(gateway->Read(),
              R"({"error":{"message":"nobody here handles GET /g","statusCode":404},"id":9,"op":"error"})");

    gateway.reset();
    EXPECT_EQ(probe.Next(), "dropped");
    EXPECT_THAT(probe.Next(), HasSubstr("is lost: "));
    EXPECT_THAT(probe.Next(), HasSubstr("still trying: Connection refused")) << "said once in each outage";
}

TEST_F(GatrixClientTest, AnswerThatTakesTooLong_IsAnErrorOnce)
{
    auto settings = Settings();
    settings.common.requestLimit = std::chrono::milliseconds(600);
    settings.connectLimit = std::chrono::seconds(1); // which is over once connected
    Connect(std::make_shared<Gatrix::ConnectedClient>(settings));
    for (const std::string id : {"1", "2"}) {
        client->SendGetRequest("/r", id, 1.0, probe.raw, probe.refused);
        EXPECT_EQ(probe.Next(), "refused 504 /r: no answer in time");
        gateway->Read();
        gateway->Send(R"({"op":"answer","body":1,"id":)" + id + "}");
    }
    client->SendGetRequest("/r", "3", 1.0, probe.raw, probe.refused);
    client->SendGetRequest("/r", "4", 1.0, probe.raw, probe.refused);
    gateway->Read();
    gateway->Send(R"({"op":"answer","body":3,"id":3})");
    EXPECT_EQ(probe.Next(), "raw 3");
    EXPECT_EQ(probe.Next(), "refused 504 /r: no answer in time");
}

TEST_F(GatrixClientTest, WhatIsNoFrame_IsReportedAndTheConnectionStays)
{
    Connect();
    const auto expectDropped = [this](const std::string& problem, const std::string& frame, bool isText = true) {
        gateway->Send(frame, isText);
        EXPECT_EQ(probe.Next(), "protocol error: a frame from the gateway is dropped: " + problem);
    };
    expectDropped("not a JSON object", "");
    expectDropped("only clients send its kind", R"({"op":"hello","client":"a","platform":"p"})");
    expectDropped("binary data", R"({"op":"ready","endpoints":[]})", false);
    expectDropped("request: \"body\": a malformed number at byte 1",
                  R"({"op":"request","id":9,"method":"GET","endpoint":"/g","version":1,"body":01})");
    EXPECT_THAT(gateway->Read(), AllOf(HasSubstr(R"("message":"request: \"body\": )"),
                                       HasSubstr(R"("statusCode":400},"id":9,"op":"error"})")));
    client->SendGetRequest("/r", std::string(Gatrix::Wire::kMaxFrameBytes, 'x'), 1.0, probe.raw, probe.refused);
    EXPECT_EQ(probe.Next(), "refused 413 /r: a frame of 1048654 bytes is too large for the gateway");
    client->SendGetRequest("/r", "1", 1.0, probe.raw, probe.refused);
    EXPECT_THAT(gateway->Read(), HasSubstr(R"("id":2)"));
    gateway->Send(R"({"op":"answer","id":2,"body":{"a":1,"a":"\ud800"}})");
    EXPECT_THAT(probe.Next(), StartsWith("protocol error: "));
    EXPECT_EQ(probe.Next(), R"(refused 400 answer: "body": half a surrogate pair at byte 18)");
    client->SendGetRequest("/r", "1", 1.0, probe.raw, probe.refused);
    EXPECT_THAT(gateway->Read(), HasSubstr(R"("id":3)"));
    gateway->Send(R"({"op":"answer","id":3,"body":")" + std::string(1000000, 'x') + "\"}");
    EXPECT_EQ(probe.Next().size(), 1000004U);
    gateway->Send(std::string(Gatrix::Wire::kMaxFrameBytes + 1, ' '));
    EXPECT_EQ(gateway->Read(), "closed 1009 ");
    EXPECT_EQ(probe.Next(), "dropped");
    EXPECT_THAT(gateway->Accept(), HasSubstr("hello"));
}

TEST_F(GatrixClientTest, GatewayThatIsNone_IsTriedAgainUntilItIsOne)
{
    auto settings = Settings();
    settings.host = "localhost";
    settings.connectLimit = std::chrono::seconds(1);
    client = std::make_shared<Gatrix::ConnectedClient>(settings);
    for (const std::string bytes :
         {"HTTP/1.1 404 Not Found\r\n\r\n", "HTTP/1.1 404 Not Found\r\n\r\n", "SSH-2.0\r\n"}) {
        gateway->AcceptAndSay(bytes);
    }
    EXPECT_THAT(probe.Next(), HasSubstr("declined"));
    EXPECT_THAT(probe.Next(), HasSubstr("bad version"));
    gateway->AcceptAndSay("");
    EXPECT_THAT(probe.Next(), HasSubstr("not answered within 1000 ms"));
    client->SendGetRequest("/r", "1", 1.0, probe.raw, probe.refused);
    EXPECT_THAT(probe.Next(), StartsWith("refused 503 /r"));
    client.reset();

    settings.host = "no.such.host.invalid";
    client = std::make_shared<Gatrix::ConnectedClient>(settings);
    EXPECT_THAT(probe.Next(), StartsWith("connection failed: no connection to the gateway, still trying: "));
}

TEST_F(GatrixClientTest, GatewayThatDoesNotRead_LimitsWhatWaitsForIt)
{
    Connect();
    const std::string body(1000000, 'x');
    int id = 0;
    while (id < 20) {
        client->SendGetRequest("/r", body, 1.0, probe.raw, probe.refused);
        EXPECT_THAT(gateway->Read(), HasSubstr("\"id\":" + std::to_string(++id) + ","));
    }
    for (int count = 0; count < 40; ++count) {
        client->SendGetRequest("/r", body, 1.0, probe.raw, probe.refused);
    }
    EXPECT_EQ(probe.Next(), "refused 503 /r: too much waits for the gateway to read it");
    while (id < 36) {
        EXPECT_THAT(gateway->Read(), HasSubstr("\"id\":" + std::to_string(++id) + ","));
    }
}

TEST_F(GatrixClientTest, LastOwner_SendsWhatWaitsAndRefusesTheRest)
{
    auto settings = Settings();
    settings.finishLimit = kDeadline;
    Connect(std::make_shared<Gatrix::ConnectedClient>(settings));
    const std::string body(1000000, 'x');
    for (int count = 0; count < 8; ++count) {
        client->SendGetRequest("/r", body, 1.0, probe.raw, probe.refused);
    }
    const auto gone = std::async(std::launch::async, [this] { client.reset(); });
    for (int count = 0; count < 8; ++count) {
        EXPECT_THAT(probe.Next(), StartsWith("refused 503 /r")) << count;
        EXPECT_THAT(gateway->Read(), HasSubstr("\"id\":" + std::to_string(count + 1) + ","));
    }
    EXPECT_EQ(gateway->Read(), "closed 1000 ");
    gone.wait();

    // A gateway that is silent holds it up for a moment only.
    Connect();
    client.reset();
}

TEST_F(GatrixClientTest, LastOwnerOnTheLibrarysThread_EndsItTheSame)
{
    // Asks with a function, which may own what a callback cannot.
    struct Access : Gatrix::GatrixClientIF
    {
        using GatrixClientIF::SendRequest;
    };
    Connect();
    std::promise<void> destroyed;
    std::shared_ptr<void> guard(nullptr, [&destroyed](void*) { destroyed.set_value(); });
    (client.get()->*&Access::SendRequest)(
        Gatrix::Method::GET, "/r", 1.0, std::nullopt, [owner = client, last = std::move(guard)](const std::string&) {},
        probe.refused);
    client.reset();
    EXPECT_THAT(gateway->Read(), HasSubstr(R"("id":1)"));
    gateway->Send(R"({"op":"answer","id":1,"body":1})");
    EXPECT_EQ(gateway->Read(), "closed 1000 ");
    EXPECT_EQ(destroyed.get_future().wait_for(kDeadline), std::future_status::ready);
}

TEST_F(GatrixClientTest, Descriptors_AreInheritedByNoProgramAndClosedAtTheEnd)
{
    const std::size_t before = NamesIn("/proc/self/fd").size();
    Connect();
    const std::string inherited = RunProgram({"ls", "-l", "/proc/self/fd"}).output;
    EXPECT_EQ(StringUtils::FindReplace(inherited, "socket:", "socket::").size() - inherited.size(), 2U)
        << "there are the gateway's own two\n"
        << inherited;
    EXPECT_THAT(inherited, Not(HasSubstr("anon_inode")));
    const std::string port = std::to_string(gateway->Port());
    EXPECT_TRUE(WaitUntil([&port] {
        const std::string clients = RunProgram({"ss", "-tnoH", "dport = :" + port}).output;
        return clients.find("timer:(keepalive,") != std::string::npos;
    }));
    gateway = std::make_unique<ScriptedGateway>();
    client.reset();
    EXPECT_EQ(NamesIn("/proc/self/fd").size(), before);
}
