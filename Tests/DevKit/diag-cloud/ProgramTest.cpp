#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>

using testing::HasSubstr;

namespace
{

/** Runs a shell command in which the programs are on the path, and returns its exit status. */
int RunShell(const std::string& command)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): tests run it in one thread
    const int status = std::system(("export PATH=" PROGRAM_FOLDER ":$PATH; " + command).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(Programs, BadCommandLine_IsRefusedInOneLineWithStatus2)
{
    TemporaryFolder folder;
    folder.Write("script.json", R"([{"stauts": 503}])");
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"diag-cloud --port 65536", "--port takes a number from 0 to 65535, not '65536'"},
        {"diag-cloud --port", "--port takes a value"},
        {"diag-cloud --bogus", "no option --bogus"},
        {"diag-cloud here", "no argument here is known"},
        {"diag-cloud --script none", "cannot read the script none"},
        {"diag-cloud --script script.json", "outcome 1: there is no member \"stauts\""},
        {"dfs-open", "one archive must be named"},
        {"dfs-open a b", "one archive must be named"},
        {"dfs-open a --list --cat b", "only one of --list, --extract and --cat"},
        {"dfs-open a --extract b", "--extract and --cat need --key"},
        {"dfs-open a --max-plain-size 1k", "--max-plain-size takes a number of bytes, not '1k'"},
        {"dfs-open none", "cannot open none: No such file"},
        {"dfs-open /dev/null", "/dev/null is not a regular file"},
        {"dfs-open script.json --key none", "cannot read the key file none: No such file"},
        {"dfs-open script.json --key script.json", "holds no private key"},
    };
    for (const auto& [command, line] : cases) {
        EXPECT_EQ(2, RunShell("cd " + folder.Path() + " && " + command + " 2> err > out")) << command;
        const std::string error = ReadWholeFile(folder.Path() + "/err");
        EXPECT_THAT(error, HasSubstr(line));
        EXPECT_EQ(1, std::count(error.begin(), error.end(), '\n')) << error;
        EXPECT_EQ("", ReadWholeFile(folder.Path() + "/out"));
    }
}

TEST(Programs, DiagCloud_TellsItsPortAndEndsOnASignal)
{
    TemporaryFolder folder;
    EXPECT_EQ(0,
              RunShell("cd " + folder.Path() + R"( && mkfifo lines && diag-cloud --port 0 --store s > lines & cloud=$!
        cd )" + folder.Path() +
                       R"(; while [ ! -p lines ]; do sleep 0.01; done
        exec 3< lines; read -r line <&3; echo "$line" > first
        url=$(echo "$line" | sed 's/.*on \(http[^ ]*\) .*/\1/')
        curl -s "$url/x" > answer; read -r line <&3; echo "$line" > second
        kill -TERM $cloud; wait $cloud)"));
    EXPECT_THAT(ReadWholeFile(folder.Path() + "/first"), HasSubstr("diag-cloud listens on http://localhost:"));
    EXPECT_THAT(ReadWholeFile(folder.Path() + "/answer"), HasSubstr("there is no such path"));
    EXPECT_THAT(ReadWholeFile(folder.Path() + "/second"), HasSubstr("#1 GET /x, 0 bytes, product unknown"));
}
