#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <algorithm>

using testing::HasSubstr;

TEST(Program, BadCommandLine_IsRefusedInOneLineWithStatus2)
{
    const TemporaryFolder folder;
    const std::string script = folder.Write("script.json", R"([{"stauts": 503}])");
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--port", "65536"}, "diag-cloud: --port: Value 65536 not in range 0 to 65535; see --help"},
        {{"--port"}, "--port: 1 required PORT"},
        {{"--bogus"}, "not expected: --bogus; see --help"},
        {{"here"}, "not expected: here; see --help"},
        {{"--script", "none"}, "cannot read the script none"},
        {{"--script", script}, "outcome 1: there is no member \"stauts\""},
    };
    for (auto [words, line] : cases) {
        words.insert(words.begin(), Program("diag-cloud"));
        const Finished run = RunProgram(words);
        EXPECT_EQ(run.status, 2) << line;
        EXPECT_THAT(run.output, HasSubstr(line));
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
    }
    EXPECT_THAT(RunProgram({Program("diag-cloud"), "-h"}).output, HasSubstr("Usage: diag-cloud [OPTIONS]"));
}

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
