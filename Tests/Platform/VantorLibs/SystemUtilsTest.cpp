#include "ChildProcess.h"
#include "SystemUtils.h"
#include "TemporaryFolder.h"
#include "Texts.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

using namespace testing; // NOLINT(google-build-using-namespace): its matchers

constexpr char kLock[] = "/run/vantor/vantorlibs_tests.lock";

/** In another process: what asking to be the only one brings. */
static void AskAndEnd()
{
    std::cerr << ErrorOf<std::exception>(SystemUtils::ThereCanBeOnlyOne);
    _exit(0);
}

TEST(ThereCanBeOnlyOne, SecondProcess_IsRefusedByNameUntilTheHolderEnds)
{
    const ExitedWithCode ends(0);
    umask(0);
    std::filesystem::remove_all("/run/vantor");
    EXPECT_EXIT(AskAndEnd(), ends, Eq("no error"));
    EXPECT_EQ(std::filesystem::status(kLock).permissions(), std::filesystem::perms(0600));
    EXPECT_NO_THROW(SystemUtils::ThereCanBeOnlyOne());
    EXPECT_NO_THROW(SystemUtils::ThereCanBeOnlyOne());
    // A forked child is another process, and a program that is run holds nothing.
    EXPECT_EXIT(AskAndEnd(), ends, Eq("vantorlibs_tests is already running as process " + std::to_string(getpid())));
    EXPECT_THAT(RunProgram({"ls", "-l", "/proc/self/fd"}).output, Not(HasSubstr("vantorlibs_tests.lock")));
    for (const std::string& foreign : {std::string(), std::string("12a\n"), std::string(100000, '7')}) {
        WriteWholeFile(kLock, foreign);
        EXPECT_EXIT(AskAndEnd(), ends, Eq("vantorlibs_tests is already running"));
    }
    std::filesystem::remove_all("/run/vantor");
    WriteWholeFile("/run/vantor", "");
    EXPECT_EXIT(AskAndEnd(), ends, HasSubstr("/run/vantor"));
}

TEST(SystemUtils, ReadFile_ReadsWholeFilesAndNothingElse)
{
    const TemporaryFolder folder;
    const std::string largest = std::string((16 << 20) - 4, 'x') + '\0' + "end";
    EXPECT_TRUE(SystemUtils::ReadFile(folder.Write("largest", largest)) == largest);
    EXPECT_EQ(SystemUtils::ReadFile(folder.Write("larger", largest + "x")), "");
    EXPECT_THAT(SystemUtils::ReadFile("/proc/self/status"), HasSubstr("VmRSS"));
    const std::string pipe = folder.Path() + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, folder.Path(), folder.Path() + "/missing"}) {
        EXPECT_EQ(SystemUtils::ReadFile(path), "");
        EXPECT_EQ(SystemUtils::Exists(path), path.find("missing") == std::string::npos);
    }
}
