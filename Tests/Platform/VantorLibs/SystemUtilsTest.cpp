#include "SystemUtils.h"

#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>

#include "TemporaryFolder.h"

namespace
{
using testing::HasSubstr;

constexpr char kLockFile[] = "/run/vantor/vantorlibs_tests.lock";

/** What the lock says in a process of its own: empty when it was granted. */
std::string AskInChild()
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        std::string said;
        try {
            SystemUtils::ThereCanBeOnlyOne();
        } catch (const std::exception& error) {
            said = error.what();
        }
        _exit(write(ends[1], said.data(), said.size()) == static_cast<ssize_t>(said.size()) ? 0 : 1);
    }
    close(ends[1]);
    std::string said(1000, '\0');
    const ssize_t length = read(ends[0], said.data(), said.size());
    close(ends[0]);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    said.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return said;
}
} // namespace

TEST(ThereCanBeOnlyOne, SecondProcess_IsRefusedByNameUntilTheHolderIsKilled)
{
    std::filesystem::remove_all("/run/vantor");
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        umask(0);
        SystemUtils::ThereCanBeOnlyOne();
        SystemUtils::ThereCanBeOnlyOne();
        const bool told = write(ends[1], "x", 1) == 1;
        while (told) {
            pause();
        }
        _exit(1);
    }
    char ready = 0;
    ASSERT_EQ(read(ends[0], &ready, 1), 1);

    const std::string said = AskInChild();
    EXPECT_THAT(said, HasSubstr("vantorlibs_tests"));
    EXPECT_THAT(said, HasSubstr(std::to_string(holder)));
    struct stat status
    {};
    ASSERT_EQ(stat(kLockFile, &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);

    kill(holder, SIGKILL);
    ASSERT_EQ(waitpid(holder, nullptr, 0), holder);
    EXPECT_EQ(AskInChild(), "");
}

TEST(ThereCanBeOnlyOne, ForkedChild_IsAnotherProcessAndAProgramItRunsHoldsNothing)
{
    SystemUtils::ThereCanBeOnlyOne();
    EXPECT_THAT(AskInChild(), HasSubstr(std::to_string(getpid())));
    EXPECT_EQ(std::system("ls -l /proc/self/fd | grep -q vantorlibs_tests.lock"), 1 << 8);
}

TEST(ThereCanBeOnlyOne, FolderThatCannotBeMade_IsNamed)
{
    std::filesystem::remove_all("/run/vantor");
    WriteWholeFile("/run/vantor", "");
    EXPECT_THAT(AskInChild(), HasSubstr("/run/vantor"));
}

TEST(SystemUtils, GetEXE_IsTheNameOfTheProgram)
{
    EXPECT_EQ(SystemUtils::GetEXE(), "vantorlibs_tests");
}

TEST(SystemUtils, ReadFile_ReadsWholeFilesAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string content = std::string(100000, 'x') + '\0' + "end";
    EXPECT_EQ(SystemUtils::ReadFile(folder.Write("file", content)), content);
    EXPECT_THAT(SystemUtils::ReadFile("/proc/self/status"), HasSubstr("VmRSS"));
    EXPECT_EQ(SystemUtils::ReadFile(folder.Path() + "/missing"), "");
    EXPECT_EQ(SystemUtils::ReadFile(folder.Path()), "");
    const std::string pipePath = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipePath.c_str(), 0600), 0);
    EXPECT_EQ(SystemUtils::ReadFile(pipePath), "");
    EXPECT_TRUE(SystemUtils::Exists(pipePath));
    EXPECT_TRUE(SystemUtils::Exists(folder.Path()));
    EXPECT_FALSE(SystemUtils::Exists(folder.Path() + "/missing"));
}
