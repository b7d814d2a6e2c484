#include "DFCliHandler.h"
#include "IL.h"
#include "Pipeline.h"

#include <gmock/gmock.h>

using DiagnosticFileSvc::DFCliHandler;
using testing::HasSubstr;
using DFCliHandlerTest = Pipeline;

TEST_F(DFCliHandlerTest, RepliesToEachCommand_HandingTheContextBack)
{
    m_handler.Start();
    testing::internal::CaptureStderr();
    DFCliHandler& cli = *DFCliHandler::GetInstance(IL::CreateTask("CLI Handler", ""), &m_handler);
    EXPECT_EQ(DFCliHandler::GetInstance(nullptr, nullptr), &cli);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("static DiagnosticFileSvc::DFCliHandler* DiagnosticFileSvc::DFCliHandler::GetInstance("
                          "NotifyTargetTaskIF*, DiagnosticFileSvc::DFTriggerHandler*)"));
    int context = 41;
    const auto expect = [&](std::uint16_t key, const std::vector<std::string>& arguments, const std::string& reply,
                            const std::string& log) {
        CallbackProbe<Answer, std::string, int> probe;
        testing::internal::CaptureStderr();
        cli.HandleCliCmd(key, arguments, probe.callback, ++context);
        EXPECT_EQ(probe.Next(), Answer(reply, context));
        Drain();
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(log));
    };
    expect(1, {"3"}, "Upload Request Triggered", "DIAG_FILE_SERVICE_UPLOAD upload id:3\n");
    expect(1, {" +5abc", "7"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 2\n");
    expect(1, {"-1"}, "Upload Request Triggered", "uploadRequest.filetype_size(): 0\n"); // not a declared type
    expect(1, {}, "Upload Request Triggered", "UPLOAD_EVERYTHING\n");
    expect(2, {"ignored"}, "Upload types = { PTS_SERVER_FILE_REQUEST, ???}", "cmdKey = 2\n");
    expect(3, {}, "Command not found", "cmdKey = 3\n");
}
