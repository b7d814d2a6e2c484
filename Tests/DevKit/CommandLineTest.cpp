#include "ChildProcess.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <signal.h>

TEST(CommandLine, IfWrong_IsRefusedInOneLineWithStatus2)
{
    const TemporaryFolder folder;
    const std::string script = folder.Write("script.json", R"([{"stauts": 503}])");
    const struct
    {
        const char* tool;
        std::vector<std::string> words;
        std::string line;
    } cases[] = {
        {"diag-cloud", {"--port", "65536"}, "diag-cloud: --port: Value 65536 not in range 0 to 65535; see --help"},
        {"diag-cloud", {"--script", "none"}, "cannot read the script none"},
        {"diag-cloud", {"--script", script}, "outcome 1: there is no member \"stauts\""},
        {"dfs-open", {}, "dfs-open: ARCHIVE is required; see --help"},
        {"dfs-open", {"a", "--key", "k", "--list", "--cat", "b"}, "--list excludes --cat"},
        {"dfs-open", {"a", "--key", "k", "--extract", "d", "--cat", "b"}, "--extract excludes --cat"},
        {"dfs-open", {"a", "--extract", "b"}, "--extract requires --key"},
        {"dfs-open", {"a", "--cat", "b"}, "--cat requires --key"},
        {"dfs-open", {"a", "--max-plain-size", "1k"}, "Value 1k not in range 1 to 1125899906842624"},
        {"dfs-open", {"none"}, "cannot open none: No such file"},
        {"dfs-open", {script, "--key", "none"}, "cannot read the key file none: No such file"},
        {"dfs-open", {script, "--key", script}, "holds no private key"},
        {"vcli", {"--wait=0", "x"}, "vcli: --wait: Value 0 not in range 1 to 604800; see --help"},
        {"vcli", {"--quick", "x"}, "vcli: there is no option --quick; see --help"},
    };
    for (auto [tool, words, line] : cases) {
        words.insert(words.begin(), Program(tool));
        const Finished run = RunProgram(words);
        EXPECT_EQ(run.status, 2) << line;
        EXPECT_THAT(run.output, testing::HasSubstr(line));
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
    }
}

TEST(Servers, TellTheirPortAndWhatHappensAndEndOnASignal)
{
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"diag-cloud", "--port", "0", "--store", "/tmp/store"}, "#1 GET /, 0 bytes, product unknown"},
        {{"gatrix-gateway", "--port", "0"}, "#1 left: no WebSocket handshake"},
    };
    for (auto [words, line] : cases) {
        const std::string begin = words[0] + " listens on ";
        words[0] = Program(words[0]);
        ChildProcess server(words);
        ASSERT_TRUE(server.WaitForOutput(begin));
        RunProgram({"curl", "-s", server.Output().substr(server.Output().find("localhost"), 15)});
        EXPECT_TRUE(server.WaitForOutput(line));
        kill(server.Pid(), SIGTERM);
        EXPECT_EQ(server.WaitForExit(), 0);
    }
}
