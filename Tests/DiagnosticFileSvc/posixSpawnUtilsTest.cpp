#include "posixSpawnUtils.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "ChildProcess.h"
#include "TemporaryFolder.h"

namespace
{
using DiagnosticFileSvc::posixSpawnUtils;
using testing::HasSubstr;

/** What the collecting run left in the file, which the compressing script has replaced. */
std::string Collected(const std::string& output)
{
    EXPECT_FALSE(std::filesystem::exists(output));
    const Finished plain = RunProgram({"gzip", "-dc", output + ".gz"});
    EXPECT_EQ(plain.status, 0);
    return plain.output;
}
} // namespace

TEST(posixSpawnUtils, CollectsBothStreams_AndTellsHowTheCommandEnded)
{
    const struct
    {
        const char* command;
        int result;
        const char* collected;
    } cases[] = {
        {"echo one; echo two >&2; echo three", 0, "one\ntwo\nthree\n"},
        {"printf 'a|b' | tr '|' ';'", 0, "a;b"},
        {"echo failing; exit 3", 3 << 8, "failing\n"},
        {"kill -TERM $$", SIGTERM, ""},
        {"no-such-command 2>/dev/null", 127 << 8, ""},
        {"ls -1 /proc/self/fd | tr '\\n' ' '; readlink /proc/self/fd/9", 1 << 8, "0 1 2 3 "},
    };
    const TemporaryFolder folder;
    // Not to be inherited by the commands, as nothing that the process opens is.
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    for (const auto& each : cases) {
        SCOPED_TRACE(each.command);
        const std::string output = folder.Write("output.txt", "what an earlier run left");
        EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(output, each.command), each.result);
        EXPECT_EQ(Collected(output), each.collected);
    }
    close(descriptor);
}

TEST(posixSpawnUtils, MakesTheOutputWithItsMode)
{
    const TemporaryFolder folder;
    const std::string output = folder.Path() + "/output.txt";
    umask(0002);
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(output, "stat -c %a " + output), 0);
    EXPECT_EQ(Collected(output), "644\n");
}

TEST(posixSpawnUtils, ReportsACommandThatCouldNotRun_AndCompressesNothing)
{
    const TemporaryFolder folder;
    const std::string kept = folder.Write("kept.txt", "kept");
    testing::internal::CaptureStderr();
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(kept + "/output.txt", "true"), ENOTDIR);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("CollectEncryptLogs: upload_sys_logs - posix_spawn: ERROR status: 20"));
    EXPECT_THAT(log, Not(HasSubstr("CompressDiagnosticFile")));
    EXPECT_EQ(ReadWholeFile(kept), "kept");

    // Neither may the child have emptied the output before it turns out that the kernel takes no such command.
    const std::string longest = "true " + std::string(128 * 1024 - 6, 'x');
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(kept, longest + "x"), E2BIG);
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(kept, {"true\0", 5}), EINVAL);
    EXPECT_EQ(ReadWholeFile(kept), "kept");
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(kept, longest), 0);
}

TEST(posixSpawnUtils, EndsAtOnce_WhenItCannotWait)
{
    const TemporaryFolder folder;
    std::signal(SIGCHLD, SIG_IGN); // the kernel then keeps no outcome
    testing::internal::CaptureStderr();
    EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(folder.Path() + "/output.txt", "exit 3"), 0);
    posixSpawnUtils::GetInstance().CompressDiagnosticFile("x");
    posixSpawnUtils::GetInstance().TarDiagnosticFiles("x");
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* line : {"CollectEncryptLogs: upload_sys_logs - Child status: ERROR\n",
                             "CompressDiagnosticFile: upload_sys_logs - CompressDiagnosticFile Child status: ERROR\n",
                             "TarDiagnosticFiles: TarDiagnosticFiles Child status: ERROR\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
    EXPECT_THAT(log, Not(HasSubstr("Child is done")));
    EXPECT_THAT(log, Not(HasSubstr("filename: compress-diag-file.sh " + folder.Path())));
}

TEST(posixSpawnUtils, LogsEachStage)
{
    const TemporaryFolder folder;
    testing::internal::CaptureStderr();
    posixSpawnUtils::GetInstance().CollectEncryptLogs(folder.Path() + "/a b.txt", "exit 2");
    posixSpawnUtils::GetInstance().TarDiagnosticFiles("");
    const std::string log = testing::internal::GetCapturedStderr();

    std::size_t at = 0;
    for (const std::string line :
         {"posixSpawnUtils: posixSpawnUtils::posixSpawnUtils - START",
          "CollectEncryptLogs: CollectSysLogs - command: exit 2", "upload_sys_logs - testpoint #1",
          "upload_sys_logs - testpoint #2", "upload_sys_logs - testpoint #3",
          "upload_sys_logs - Child pid: ", "upload_sys_logs - Child status: 2",
          "upload_sys_logs - Child is done, status: 512", "upload_sys_logs - Child is done, clean exit: ",
          "CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile - START",
          "upload_sys_logs CompressDiagnosticFile filename: compress-diag-file.sh ",
          "upload_sys_logs CompressDiagnosticFile - Child pid: ",
          "upload_sys_logs CompressDiagnosticFile - Child status: ",
          "upload_sys_logs CompressDiagnosticFile - Child is done, clean exit: ",
          "TarDiagnosticFiles: TarDiagnosticFiles - START", "TarDiagnosticFiles filename: tar-compress-diag-files.sh ",
          "TarDiagnosticFiles: upload_sys_logs CompressDiagnosticFile - Child pid: ",
          "TarDiagnosticFiles - Child status: ", "TarDiagnosticFiles - Child is done, clean exit: "}) {
        const std::size_t found = log.find(line, at);
        ASSERT_NE(found, std::string::npos) << line << "\nin\n" << log;
        at = found + line.size();
    }
    EXPECT_TRUE(std::filesystem::exists(folder.Path() + "/a b.txt")) << "the name went to the script unquoted";
}
