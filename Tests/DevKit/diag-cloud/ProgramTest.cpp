#include "ChildProcess.h"

#include <gmock/gmock.h>

#include <signal.h>

using testing::HasSubstr;

TEST(Program, DiagCloud_TellsItsPortAndEndsOnASignal)
{
    const std::string begin = "diag-cloud listens on ";
    ChildProcess cloud({Program("diag-cloud"), "--port", "0", "--store", "/tmp/store"});
    ASSERT_TRUE(cloud.WaitForOutput(" and stores in /tmp/store\n"));
    const std::string url = cloud.Output().substr(begin.size(), cloud.Output().find(" and") - begin.size());
    EXPECT_THAT(RunProgram({"curl", "-s", url + "/x"}).output, HasSubstr("there is no such path"));
    ASSERT_TRUE(cloud.WaitForOutput("#1 GET /x, 0 bytes, product unknown"));
    kill(cloud.Pid(), SIGTERM);
    EXPECT_EQ(cloud.WaitForExit(), 0);
}
