#include "DFCliHandler.h"

#include <gmock/gmock.h>

#include "AnswerProbe.h"
#include "IL.h"
#include "Pipeline.h"

namespace
{
using testing::HasSubstr;

class DFCliHandler : public Pipeline
{
protected:
    DFCliHandler() { StartWithoutItems(); }

    NotifyTargetTaskIF* m_task = IL::CreateTask("CLI Handler", "");
    DiagnosticFileSvc::DFCliHandler& m_cli = *DiagnosticFileSvc::DFCliHandler::GetInstance(m_task, &m_handler);
};
} // namespace

TEST_F(DFCliHandler, RepliesToEachCommand_HandingTheContextBack)
{
    const struct
    {
        std::uint16_t key;
        std::vector<std::string> arguments;
        const char* reply;
        const char* log;
    } cases[] = {
        {1, {"3"}, "Upload Request Triggered", "DIAG_FILE_SERVICE_UPLOAD upload id:3\n"},
        {1, {"5", "7"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 2\n"},
        {1, {" +12abc"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 1\n"},
        {1, {"50"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 0\n"}, // not a declared type
        {1, {"-1"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 0\n"},
        {1, {}, "Upload Request Triggered", "UPLOAD_EVERYTHING\n"},
        {2, {}, "Upload types = { PTS_SERVER_FILE_REQUEST, ???}", "cmdKey = 2\n"},
        {2, {"ignored"}, "Upload types = { PTS_SERVER_FILE_REQUEST, ???}", "cmdKey = 2\n"},
        {3, {}, "Command not found", "cmdKey = 3\n"},
    };
    int context = 41;
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.key) + testing::PrintToString(each.arguments));
        AnswerProbe probe;
        testing::internal::CaptureStderr();
        m_cli.HandleCliCmd(each.key, each.arguments, probe.reply, ++context);
        EXPECT_EQ(probe.WaitFor(1), (Answers{{each.reply, context}}));
        Drain();
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(each.log));
    }
}

TEST_F(DFCliHandler, LogsItsCreationUnderItsFullSignature)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(DiagnosticFileSvc::DFCliHandler::GetInstance(nullptr, nullptr), &m_cli);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("static DiagnosticFileSvc::DFCliHandler* DiagnosticFileSvc::DFCliHandler::GetInstance("
                          "NotifyTargetTaskIF*, DiagnosticFileSvc::DFTriggerHandler*)"));
}
