#include "DFCliHandler.h"
#include "IL.h"
#include "Pipeline.h"

#include <gmock/gmock.h>

using DiagnosticFileSvc::DFCliHandler;
using testing::HasSubstr;
using DFCliHandlerTest = Pipeline;

TEST_F(DFCliHandlerTest, RepliesToEachCommand_HandingTheContextBack)
{
    StartWithoutItems();
    testing::internal::CaptureStderr();
    DFCliHandler& cli = *DFCliHandler::GetInstance(IL::CreateTask("CLI Handler", ""), &m_handler);
    EXPECT_EQ(DFCliHandler::GetInstance(nullptr, nullptr), &cli);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("static DiagnosticFileSvc::DFCliHandler* DiagnosticFileSvc::DFCliHandler::GetInstance("
                          "NotifyTargetTaskIF*, DiagnosticFileSvc::DFTriggerHandler*)"));
    const struct
    {
        std::uint16_t key;
        std::vector<std::string> arguments;
        const char* reply;
        const char* log;
    } cases[] = {
        {1, {"3"}, "Upload Request Triggered", "DIAG_FILE_SERVICE_UPLOAD upload id:3\n"},
        {1, {" +5abc", "7"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 2\n"},
        {1, {"-1"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 0\n"}, // not a declared type
        {1, {}, "Upload Request Triggered", "UPLOAD_EVERYTHING\n"},
        {2, {"ignored"}, "Upload types = { PTS_SERVER_FILE_REQUEST, ???}", "cmdKey = 2\n"},
        {3, {}, "Command not found", "cmdKey = 3\n"},
    };
    int context = 41;
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.key) + testing::PrintToString(each.arguments));
        CallbackProbe<Answer, std::string, int> probe;
        testing::internal::CaptureStderr();
        cli.HandleCliCmd(each.key, each.arguments, probe.callback, ++context);
        EXPECT_EQ(probe.Next(), Answer(each.reply, context));
        Drain();
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(each.log));
    }
}
