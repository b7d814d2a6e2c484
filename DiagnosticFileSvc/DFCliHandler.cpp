#include "DFCliHandler.h"

#include "DFConstants.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "StringUtils.h"
#include "UploadSysInfo.pb.h"

#include <utility>

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kCliHandler);

struct Command
{
    CLICmdKeys key;
    const char* words;
    const char* help;
    const char* usage;
};

constexpr Command kCommands[] = {
    {DIAG_FILE_SERVICE_UPLOAD, "diagfileservice upload", "Uploads diagnostic file information ",
     "diagfileservice upload [uploadtype]"},
    {DIAG_FILE_SERVICE_SHOW_UPLOAD_TYPES, "diagfileservice show uploadtypes", "Show the upload types",
     "diagfileservice show uploadtypes"},
};

// Appends a file type as it would arrive on the wire: one that is not declared is kept as an unknown field.
void AddFileType(DFSCommonPB::UploadRequest& request, int type)
{
    const auto* const field =
        DFSCommonPB::UploadRequest::descriptor()->FindFieldByNumber(DFSCommonPB::UploadRequest::kFileTypeFieldNumber);
    request.GetReflection()->AddEnumValue(&request, field, type);
}
} // namespace

DFCliHandler* DFCliHandler::GetInstance(NotifyTargetTaskIF* task, DFTriggerHandler* triggerHandler)
{
    // As GCC has it in __PRETTY_FUNCTION__; Clang spaces it in another way.
    constexpr char kSignature[] =
        "static DiagnosticFileSvc::DFCliHandler* DiagnosticFileSvc::DFCliHandler::GetInstance(NotifyTargetTaskIF*, "
        "DiagnosticFileSvc::DFTriggerHandler*)";
    const LogScope scope(s_log, kSignature, "GetInstance");
    static auto* const instance = new DFCliHandler(task, triggerHandler);
    return instance;
}

DFCliHandler::DFCliHandler(NotifyTargetTaskIF* task, DFTriggerHandler* triggerHandler)
    : m_cliClient("DiagnosticFileService"),
      m_task(task),
      m_triggerHandler(triggerHandler),
      m_connection(task),
      m_uploadResponseCB(m_connection, this, &DFCliHandler::DiagUploadResponseCB)
{
    m_cliClient.Initialize(m_task);
    RegisterCliCommands();
}

void DFCliHandler::RegisterCliCommands()
{
    const LogScope scope(s_log, __func__);
    for (const Command& command : kCommands) {
        m_cliClient.RegisterCLIServerCommands(command.words, command.help, command.usage, m_task,
                                              CliClientMT::Handler(this, &DFCliHandler::HandleCliCmd), command.key);
    }
}

void DFCliHandler::HandleCliCmd(std::uint16_t key, const std::vector<std::string>& arguments,
                                const AsyncCallback<std::string, int>& reply, int context)
{
    const LogScope scope(s_log, __func__);
    LogProgress(s_log, __func__, "cmdKey = ", key);
    std::string text = "Command not found";
    switch (key) {
        case DIAG_FILE_SERVICE_UPLOAD:
            LogProgress(s_log, __func__, "CLICmdKeys::DIAG_FILE_SERVICE_UPLOAD");
            RequestUpload(arguments);
            text = "Upload Request Triggered";
            break;
        case DIAG_FILE_SERVICE_SHOW_UPLOAD_TYPES:
            LogProgress(s_log, __func__, "CLICmdKeys::DIAG_FILE_SERVICE_SHOW_UPLOAD_TYPES");
            text = "Upload types = { PTS_SERVER_FILE_REQUEST, ???}";
            break;
        default:
            break;
    }
    reply(std::move(text), context);
}

void DFCliHandler::RequestUpload(const std::vector<std::string>& arguments)
{
    DFSCommonPB::UploadRequest request;
    for (const std::string& argument : arguments) {
        AddFileType(request, std::stoi(argument));
    }
    if (arguments.empty()) {
        request.add_filetype(DFSCommonPB::UPLOAD_EVERYTHING);
    }
    LogProgress(s_log, "HandleCliCmd", "DIAG_FILE_SERVICE_UPLOAD upload id:",
                arguments.empty() ? StringUtils::ToString(DFSCommonPB::UPLOAD_EVERYTHING) : arguments.front());
    m_triggerHandler->UploadDiagFileRequest(std::move(request), &m_uploadResponseCB);
}

void DFCliHandler::DiagUploadResponseCB(const std::string& /*message*/, int statusCode)
{
    const LogScope scope(s_log, __func__);
    m_cliClient.SendAsyncResponse("Upload status code = " + StringUtils::ToString(statusCode));
}
} // namespace DiagnosticFileSvc
