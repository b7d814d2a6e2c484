#include "Device.h"
#include "Sanitized.h"
#include "TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <signal.h>

using Process = Device;
using testing::ContainsRegex;
using testing::HasSubstr;

TEST_F(Process, StartsInItsOrder_AndNamesItsThreads)
{
    StartService();
    std::string rest = m_service->Output();
    for (const char* line :
         {"DiagnosticFileService::DiagnosticFileService - START", "DiagnosticFileService::OnEntry - START",
          "DiagnosticFileService::CreateAllTasks - START", "DiagnosticFileService::CreateAllTasks - END",
          "DiagnosticFileService::CreateSystemInterfaceObjects - START",
          "Create the DFGatrixClient using shared_ptr+++++++++", "DFTriggerHandler::SetGatrixClient - END",
          "DiagnosticFileService::CreateSystemInterfaceObjects - END", "DFTriggger::OnEntry - START",
          "DFTriggger::OnEntry - END", "LoadDiagItemsFromConfigFile - START"}) {
        const std::size_t at = rest.find(line);
        ASSERT_NE(at, std::string::npos) << line << "\nin\n" << m_service->Output();
        rest = rest.substr(at);
    }
    EXPECT_THAT(m_service->Output(), Not(HasSubstr("DiagnosticFileService::OnEntry - END")))
        << "it waits for its tasks";
    for (const std::string name :
         {"DiagnoticFileSe", "DFTriggerHandle", "DFHarvestSystem", "DFUploadDiagnos", "CLI Handler"}) {
        EXPECT_TRUE(WaitUntil([&] {
            const auto threads = NamesIn(ProcPath("task"));
            return std::any_of(threads.begin(), threads.end(), [&](const std::string& thread) {
                return ReadWholeFile(ProcPath("task/" + thread + "/comm")) == name + "\n";
            });
        })) << name;
    }
}

TEST_F(Process, IgnoresABrokenPipe_BeforeItsFirstTaskStarts)
{
    // Its first log line, of the service's constructor, goes to a pipe that is full: there it stands still.
    m_service = std::make_unique<ChildProcess>(std::vector<std::string>{
        "sh", "-c",
        "mkfifo /tmp/full && exec 2<>/tmp/full && dd if=/dev/zero of=/tmp/full oflag=nonblock 2>&1; exec \"$0\"",
        Program("DiagnosticFileService")});
    // One digit of the set holds four signals; SIGPIPE is the first of its digit.
    static_assert(SIGPIPE == 13);
    EXPECT_TRUE(WaitUntil([this] {
        return testing::Value(ReadWholeFile(ProcPath("status")), ContainsRegex("SigIgn:\t[0-9a-f]{12}[13579bdf]"));
    }));
}

TEST_F(Process, RefusesToRunTwice)
{
    StartService();
    const Finished second = RunProgram({Program("DiagnosticFileService")});
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.output, testing::StartsWith("DiagnosticFileService: Caught top level exception: "));
    EXPECT_THAT(second.output, HasSubstr("process " + std::to_string(m_service->Pid()) + "\n"));
    EXPECT_EQ(std::count(second.output.begin(), second.output.end(), '\n'), 1);
}

TEST_F(Process, RunsAsAlways_WhateverItInherits)
{
    const std::string lock = "/run/vantor/DiagnosticFileService.lock";
    WriteWholeFile(lock, std::string(100000, 'x'));
    // Without standard streams, with the ends of children thrown away, and with a signal ignored and blocked.
    m_service = std::make_unique<ChildProcess>(std::vector<std::string>{
        "sh", "-c", "exec env --ignore-signal=CHLD,TERM --block-signal=TERM \"$0\" <&- >&- 2>&-",
        Program("DiagnosticFileService")});
    EXPECT_TRUE(WaitUntil([] { return Vcli({"show", "uploadtypes"}).status == 0; }));
    EXPECT_THAT(Vcli({"upload", "12"}).output, HasSubstr("Upload status code = 400"))
        << "the file is not there, which a command's exit status tells";
    kill(m_service->Pid(), SIGXFSZ);
    EXPECT_EQ(Vcli({"show", "uploadtypes"}).status, 0) << "a file has grown to a limit";
    EXPECT_EQ(ReadWholeFile(lock), std::to_string(m_service->Pid()) + "\n");
    for (const char* stream : {"0", "1", "2"}) {
        EXPECT_EQ(std::filesystem::read_symlink(ProcPath("fd/") + stream), "/dev/null");
    }
    kill(m_service->Pid(), SIGTERM);
    EXPECT_EQ(m_service->WaitForExit(), -1);
}

TEST_F(Process, GoesOnWithoutACommandLine_WhenItCannotBeHad)
{
    WriteWholeFile("/run/vantor/cli", "no folder");
    StartService();
    EXPECT_THAT(m_service->Output(), ContainsRegex(" 1 CliClient: .*/run/vantor/cli"));
    EXPECT_NE(Vcli({"show", "uploadtypes"}).status, 0);
}

TEST_F(Process, StaysAlive_WhenItsAssemblyFails)
{
    SKIP_IF_SANITIZED("the sanitizer's own address space is beyond any limit");
    // Stacks of 1 GiB each: there is room for two threads, not for the task of the command line.
    m_service = std::make_unique<ChildProcess>(std::vector<std::string>{
        "sh", "-c", "ulimit -s 1048576 && ulimit -v 3145728 && exec \"$0\"", Program("DiagnosticFileService")});
    ASSERT_TRUE(m_service->WaitForOutput("OnEntry: DiagnosticFileService::OnEntry - END"));
    EXPECT_THAT(m_service->Output(),
                HasSubstr("1 DiagnosticFileService: OnEntry: exception :cannot start the task CLI Handler: "));
    const auto isAsleep = [this] { return ReadWholeFile(ProcPath("status")).find("State:\tS") != std::string::npos; };
    EXPECT_TRUE(WaitUntil(isAsleep));
}

TEST_F(Process, Ends_WhenTheProductHasNoIdentity)
{
    WriteWholeFile("/persist/mfg_data.json", R"({"productName":"VRD9","guid":"x"})");
    StartService();
    EXPECT_NE(Vcli({"upload", "6"}).status, 0) << "nobody is there to tell the outcome";
    EXPECT_EQ(m_service->WaitForExit(), 1);
    EXPECT_THAT(m_service->Output(), HasSubstr("LoadMetadata Fatal Error: No Product Type "));
}

TEST_F(Process, TakesAnythingOnItsCommandLine)
{
    StartService();
    EXPECT_THAT(Vcli({"upload", "7", "abc"}).output, HasSubstr("no reply came"));
    EXPECT_THAT(m_service->Output(), HasSubstr("CLI Handler: a handler ended with an exception: stoi"));
    EXPECT_THAT(RunProgram({Program("vcli"), "help"}).output, HasSubstr("diagfileservice upload [uploadtype]"));
}
