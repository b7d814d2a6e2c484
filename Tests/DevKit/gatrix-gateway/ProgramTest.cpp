#include "ChildProcess.h"
#include "TestClient.h"

#include <signal.h>

TEST(Program, Gateway_PrintsWhatHappensAndEndsOnASignal)
{
    ChildProcess gateway({Program("gatrix-gateway"), "--port", "0", "--verbose"});
    ASSERT_TRUE(gateway.WaitForOutput("/\n"));
    const int port = std::stoi(gateway.Output().substr(gateway.Output().find_last_of(':') + 1));
    TestClient client(static_cast<std::uint16_t>(port), "a\nb\x1B");
    client.Handle("/x");
    for (const char* line : {"#1 a?b? came, platform linux\n", "#1 a?b? handles GET /x, group g\n",
                             "#1 a?b? is ready: /x\n", "#1 a?b? > {", "#1 a?b? < {"}) {
        EXPECT_TRUE(gateway.WaitForOutput(line));
    }
    kill(gateway.Pid(), SIGTERM);
    EXPECT_EQ(client.Read(), "closed 1001 the gateway ends");
    EXPECT_EQ(gateway.WaitForExit(), 0);
}
