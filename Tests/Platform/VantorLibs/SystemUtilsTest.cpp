#include "SystemUtils.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "ChildProcess.h"
#include "TemporaryFolder.h"

namespace
{
using testing::HasSubstr;

/** A process of its own that has asked to be the only one, and lives until it is killed. */
struct Contender
{
    Contender() : pid(fork())
    {
        if (pid == 0) {
            umask(0);
            std::string answer = "granted";
            try {
                SystemUtils::ThereCanBeOnlyOne();
                SystemUtils::ThereCanBeOnlyOne();
            } catch (const std::exception& error) {
                answer = error.what();
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
        EXPECT_EQ(holder.said, "granted");
        EXPECT_EQ(Contender().said, "vantorlibs_tests is already running as process " + std::to_string(holder.pid));
        struct stat status
        {};
        ASSERT_EQ(stat("/run/vantor/vantorlibs_tests.lock", &status), 0);
        EXPECT_EQ(status.st_mode & 0777U, 0600U);
    }
    // A forked child is another process, and a program that is run holds nothing.
    EXPECT_NO_THROW(SystemUtils::ThereCanBeOnlyOne());
    EXPECT_THAT(Contender().said, HasSubstr(std::to_string(getpid())));
    EXPECT_THAT(RunProgram({"ls", "-l", "/proc/self/fd"}).output, Not(HasSubstr("vantorlibs_tests.lock")));
    for (const std::string& foreign : {std::string(), std::string("12a\n"), std::string(100000, '7')}) {
        WriteWholeFile("/run/vantor/vantorlibs_tests.lock", foreign);
        EXPECT_EQ(Contender().said, "vantorlibs_tests is already running");
    }
}

TEST(ThereCanBeOnlyOne, LockFile_NeverBecomesAStandardDescriptor)
{
    const pid_t child = fork();
    if (child == 0) {
        for (const int standard : {0, 1, 2}) {
            close(standard);
        }
        SystemUtils::ThereCanBeOnlyOne();
        _exit(fcntl(0, F_GETFD) == -1 && fcntl(1, F_GETFD) == -1 && fcntl(2, F_GETFD) == -1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(ThereCanBeOnlyOne, FolderThatCannotBeMade_IsNamed)
{
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
