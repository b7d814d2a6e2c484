#include <gmock/gmock.h>
#include <signal.h>

#include <list>

#include "ChildProcess.h"
#include "Sanitized.h"
#include "TestClient.h"

namespace
{
std::uint16_t PortOf(const ChildProcess& gateway)
{
    EXPECT_TRUE(gateway.WaitForOutput("/\n"));
    return static_cast<std::uint16_t>(std::stoi(gateway.Output().substr(gateway.Output().find_last_of(':') + 1)));
}
} // namespace

TEST(Program, Gateway_PrintsWhatHappensAndEndsOnASignal)
{
    EXPECT_EQ(RunProgram({Program("gatrix-gateway"), "x"}).output,
              "gatrix-gateway: no argument x is known; see --help\n");
    ChildProcess gateway({Program("gatrix-gateway"), "--port", "0", "--verbose"});
    TestClient client(PortOf(gateway), "a\nb\x1B");
    client.Handle("/x");
    for (const char* line : {"#1 a?b? came, platform linux\n", "#1 a?b? handles GET /x, group g\n",
                             "#1 a?b? is ready: /x\n", "#1 a?b? > {", "#1 a?b? < {"}) {
        EXPECT_TRUE(gateway.WaitForOutput(line));
    }
    kill(gateway.Pid(), SIGTERM);
    EXPECT_EQ(client.Read(), "closed 1001 the gateway ends");
    EXPECT_EQ(gateway.WaitForExit(), 0);
}

TEST(Program, GatewayOutOfDescriptors_GoesOnWhenThereAreSome)
{
    if (kIsSanitized) {
        GTEST_SKIP() << "the sanitizer needs descriptors for its own checks";
    }
    const ChildProcess gateway({"sh", "-c", "ulimit -n 20; exec " + Program("gatrix-gateway") + " --port 0"});
    const std::uint16_t port = PortOf(gateway);
    boost::asio::io_context context;
    std::list<boost::asio::ip::tcp::socket> sockets;
    for (int count = 0; count < 30; ++count) {
        sockets.emplace_back(context).connect({boost::asio::ip::address_v4::loopback(), port});
    }
    ASSERT_TRUE(gateway.WaitForOutput("clients have to wait: Too many open files\n"));
    sockets.clear();
    TestClient(port).Handle("/x");
}
