#include "CapturedLog.h"
#include "ChildProcess.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"
#include "posixSpawnUtils.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

using DiagnosticFileSvc::posixSpawnUtils;
using testing::EndsWith;

struct posixSpawnUtilsTest : testing::Test
{
    int Collect(const std::string& command) const
    {
        return posixSpawnUtils::GetInstance().CollectEncryptLogs(m_output, command);
    }

    /** What it logs, without the numbers of processes and the folder. */
    std::string LogOf(const std::function<void()>& operation) const
    {
        const CapturedLog log(3);
        operation();
        const std::string text = StringUtils::FindReplace(CapturedLog::TextOf("posixSpawnUtils"), m_folder.Path(), "");
        return std::regex_replace(text, std::regex("(pid|exit): [0-9]+"), "$1: PID");
    }

    const TemporaryFolder m_folder;
    const std::string m_output = m_folder.Path() + "/output.txt";
};

TEST_F(posixSpawnUtilsTest, CollectsBothStreams_AndTellsHowTheCommandEnded)
{
    const auto expect = [this](const std::string& command, int result, const std::string& collected) {
        EXPECT_EQ(Collect(command), result) << command;
        EXPECT_FALSE(std::filesystem::exists(m_output)) << "the compressing script has replaced it";
        EXPECT_EQ(RunProgram({"gzip", "-dc", m_output + ".gz"}).output, collected);
        m_folder.Write("output.txt", "what an earlier run left");
    };
    umask(0002);
    expect("stat -c %a " + m_output, 0, "644\n");
    expect("echo one; echo two >&2; printf 'a|b' | tr '|' ';'", 0, "one\ntwo\na;b");
    expect("echo failing; exit 3", 3 << 8, "failing\n");
    expect("kill -TERM $$", SIGTERM, "");
    // Not to be inherited by the commands, as nothing that the process opens is.
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    expect("ls -1 /proc/self/fd | tr '\\n' ' '; readlink /proc/self/fd/9", 1 << 8, "0 1 2 3 ");
    close(descriptor);
}

TEST_F(posixSpawnUtilsTest, CompressesNothing_WhenTheCommandCouldNotRun)
{
    // Neither may the child have emptied the output before it turns out that the kernel takes no such command.
    m_folder.Write("output.txt", "kept");
    const std::string longest = "true " + std::string(128 * 1024 - 6, 'x');
    EXPECT_EQ(Collect(longest + "x"), E2BIG);
    EXPECT_EQ(Collect({"true\0", 5}), EINVAL);
    EXPECT_EQ(ReadWholeFile(m_output), "kept");
    EXPECT_EQ(Collect(longest), 0);
}

TEST_F(posixSpawnUtilsTest, LogsEachStage)
{
    const std::string named = m_folder.Path() + "/a b.txt";
    EXPECT_EQ(LogOf([&] { EXPECT_EQ(posixSpawnUtils::GetInstance().CollectEncryptLogs(named, "exit 2"), 512); }), R"(
3 posixSpawnUtils: posixSpawnUtils::posixSpawnUtils - START
3 CollectEncryptLogs: CollectSysLogs - command: exit 2
3 CollectEncryptLogs: upload_sys_logs - testpoint #1
3 CollectEncryptLogs: upload_sys_logs - testpoint #2
3 CollectEncryptLogs: upload_sys_logs - testpoint #3
3 CollectEncryptLogs: upload_sys_logs - Child pid: PID
3 CollectEncryptLogs: upload_sys_logs - Child status: 2
3 CollectEncryptLogs: upload_sys_logs - Child is done, status: 512
3 CollectEncryptLogs: upload_sys_logs - Child is done, clean exit: PID
3 CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile - START
3 CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile filename: compress-diag-file.sh /a b.txt
3 CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile - Child pid: PID
3 CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile - Child status: 2
3 CompressDiagnosticFile: upload_sys_logs CompressDiagnosticFile - Child is done, clean exit: PID
)");
    auto& utils = posixSpawnUtils::GetInstance();
    EXPECT_TRUE(std::filesystem::exists(named)) << "the name went to the script unquoted";
    EXPECT_EQ(LogOf([&] { utils.TarDiagnosticFiles("x"); }), R"(
3 TarDiagnosticFiles: TarDiagnosticFiles - START
3 TarDiagnosticFiles: TarDiagnosticFiles filename: tar-compress-diag-files.sh x
3 TarDiagnosticFiles: upload_sys_logs CompressDiagnosticFile - Child pid: PID
3 TarDiagnosticFiles: TarDiagnosticFiles - Child status: 1
3 TarDiagnosticFiles: TarDiagnosticFiles - Child is done, clean exit: PID
)");
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(utils.CollectEncryptLogs("/dev/null/x", "true"), ENOTDIR); }),
                EndsWith("\n3 CollectEncryptLogs: upload_sys_logs - posix_spawn: ERROR status: 20\n"));
    std::signal(SIGCHLD, SIG_IGN); // the kernel keeps no outcome then
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(Collect("exit 3"), 0); }),
                EndsWith("\n3 CollectEncryptLogs: upload_sys_logs - Child status: ERROR\n"));
    EXPECT_THAT(LogOf([&] { utils.CompressDiagnosticFile("x"); }),
                EndsWith("upload_sys_logs - CompressDiagnosticFile Child status: ERROR\n"));
    EXPECT_THAT(LogOf([&] { utils.TarDiagnosticFiles("x"); }),
                EndsWith("\n3 TarDiagnosticFiles: TarDiagnosticFiles Child status: ERROR\n"));
}
