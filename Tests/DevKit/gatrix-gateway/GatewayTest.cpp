#include "Gateway.h"
#include "TestClient.h"

#include <gmock/gmock.h>

#include <future>
#include <system_error>

namespace Wire = Gatrix::Wire;
using GatrixGateway::Gateway;
using testing::HasSubstr;

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
