#include "ChildProcess.h"
#include "SystemUtils.h"
#include "TemporaryFolder.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using testing::HasSubstr;

constexpr char kLock[] = "/run/vantor/vantorlibs_tests.lock";

/** A process that has asked, without standard descriptors, to be the only one. It lives until it is killed. */
struct Contender
{
    Contender() : pid(fork())
    {
        if (pid == 0) {
            umask(0);
            for (const int standard : {0, 1, 2}) {
                close(standard);
            }
            std::string answer = ErrorOf<std::exception>([] {
                SystemUtils::ThereCanBeOnlyOne();
                SystemUtils::ThereCanBeOnlyOne();
            });
            for (const int standard : {0, 1, 2}) {
                answer += fcntl(standard, F_GETFD) == -1 ? "" : " on a standard descriptor";
            }
            WriteWholeFile("/tmp/answer.part", answer);
            std::filesystem::rename("/tmp/answer.part", "/tmp/answer");
            pause();
        }
        EXPECT_TRUE(WaitUntil([] { return std::filesystem::exists("/tmp/answer"); }));
        said = ReadWholeFile("/tmp/answer");
        std::filesystem::remove("/tmp/answer");
    }
    ~Contender()
    {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }

    pid_t pid;
    std::string said;
};
} // namespace

TEST(ThereCanBeOnlyOne, SecondProcess_IsRefusedByNameUntilTheHolderIsKilled)
{
    std::filesystem::remove_all("/run/vantor");
    {
        const Contender holder;
        EXPECT_EQ(holder.said, "no error");
        EXPECT_EQ(Contender().said, "vantorlibs_tests is already running as process " + std::to_string(holder.pid));
        EXPECT_EQ(std::filesystem::status(kLock).permissions(), std::filesystem::perms(0600));
    }
    // A forked child is another process, and a program that is run holds nothing.
    EXPECT_NO_THROW(SystemUtils::ThereCanBeOnlyOne());
    EXPECT_THAT(Contender().said, HasSubstr(std::to_string(getpid())));
    EXPECT_THAT(RunProgram({"ls", "-l", "/proc/self/fd"}).output, Not(HasSubstr("vantorlibs_tests.lock")));
    for (const std::string& foreign : {std::string(), std::string("12a\n"), std::string(100000, '7')}) {
        WriteWholeFile(kLock, foreign);
        EXPECT_EQ(Contender().said, "vantorlibs_tests is already running");
    }
    std::filesystem::remove_all("/run/vantor");
    WriteWholeFile("/run/vantor", "");
    EXPECT_THAT(Contender().said, HasSubstr("/run/vantor"));
}

TEST(SystemUtils, ReadFile_ReadsWholeFilesAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string content = std::string(100000, 'x') + '\0' + "end";
    constexpr std::size_t kLargest = std::size_t{16} * 1024 * 1024;
    EXPECT_EQ(SystemUtils::ReadFile(folder.Write("largest", std::string(kLargest, 'x'))).size(), kLargest);
    EXPECT_EQ(SystemUtils::ReadFile(folder.Write("larger", std::string(kLargest + 1, 'x'))), "");
    EXPECT_EQ(SystemUtils::ReadFile(folder.Write("file", content)), content);
    EXPECT_THAT(SystemUtils::ReadFile("/proc/self/status"), HasSubstr("VmRSS"));
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.Path(), folder.Path() + "/missing"}) {
        EXPECT_EQ(SystemUtils::ReadFile(path), "");
        EXPECT_EQ(SystemUtils::Exists(path), path.find("missing") == std::string::npos);
    }
}
