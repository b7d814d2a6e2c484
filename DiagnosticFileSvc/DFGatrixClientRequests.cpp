// What other services ask of this one through the gateway.

#include "DFConstants.h"
#include "DFDiagnosticItem.h"
#include "DFFiles.h"
#include "DFGatrixClient.h"
#include "DFLog.h"
#include "DFTriggerHandler.h"
#include "StringUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

/** Whether a request for one file names its one type; one that does not is logged. */
bool IsCustomFileRuleKept(const DFSCommonPB::UploadRequest& request, const char* operation)
{
    if (request.filetoupload().empty() || request.filetype_size() == 1) {
        return true;
    }
    LogLine(s_log, LOG_LEVEL_ERROR, operation, kCustomFileNeedsOneType, ", got: ", request.filetype_size());
    return false;
}

DFSCommonPB::UploadResponse UploadResponseOf(const std::string& message, int statusCode)
{
    DFSCommonPB::UploadResponse response;
    response.set_statuscode(statusCode);
    response.set_message(message);
    return response;
}

/** Where a posted registration's item goes: blanks are replaced before the trimming, which so has none to remove. */
std::string OutputOf(const DFSCommonPB::diagItemRegistration& registration)
{
    if (registration.has_outputfilename()) {
        return kPersistenceDirectory + registration.outputfilename();
    }
    return std::string(kPersistenceDirectory) + kOutputPrefix +
           StringUtils::trim(StringUtils::FindReplace(registration.subtype(), " ", "_"));
}
} // namespace

void DFGatrixClient::HandleUploadSysLogsPostRequest(const DFSCommonPB::UploadRequest& request,
                                                    const Callback<DFSCommonPB::UploadResponse>& onAnswer,
                                                    const Callback<Gatrix::Error>& onError)
{
    const LogScope scope(s_log, __func__);
    if (!IsCustomFileRuleKept(request, __func__)) {
        if (onError) {
            onError(MakeError(400, kCustomFileNeedsOneType));
        }
        return;
    }
    m_onUploadAnswer = onAnswer;
    m_onUploadError = onError;
    m_triggerHandler->UploadDiagFileRequest(request, &m_uploadResponseCB);
}

void DFGatrixClient::DiagUploadResponseCB(const std::string& message, int statusCode)
{
    const LogScope scope(s_log, __func__);
    try {
        if (statusCode >= 300) {
            if (m_onUploadError) {
                m_onUploadError(MakeError(statusCode, message));
            }
        } else if (m_onUploadAnswer) {
            m_onUploadAnswer(UploadResponseOf(message, statusCode));
        }
    } catch (const std::exception& error) {
        LogLine(s_log, LOG_LEVEL_ERROR, __func__, "The answer ends with an exception: ", error.what());
        // Without them the gateway's library refuses the request itself, so that its requester does not wait.
        m_onUploadAnswer = {};
        m_onUploadError = {};
    }
}

void DFGatrixClient::UploadSysInfoNotifications(const DFSCommonPB::UploadRequest& request)
{
    const LogScope scope(s_log, __func__, "");
    if (IsCustomFileRuleKept(request, __func__)) {
        m_triggerHandler->UploadDiagFileRequest(request, &m_uploadNotifyResponseCB);
    }
}

void DFGatrixClient::DiagUploadNotifyResponseCB(const std::string& /*message*/, int /*statusCode*/)
{
    // A notification has nobody to answer.
    const LogScope scope(s_log, __func__, "DiagUploadNotificationResponseCB", "DiagUploadNotifyResponseCB");
}

void DFGatrixClient::DiagItemRegistrationPostRequest(
    const DFSCommonPB::diagItemRegistration& registration,
    const Callback<DFSCommonPB::diagItemRegistrationResponse>& onAnswer, const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    m_triggerHandler->DiagItemRegistration(DFDiagnosticItem(registration.input(), OutputOf(registration),
                                                            registration.filetype(), registration.subtype(),
                                                            registration.harvesttype()));
    m_onRegistrationAnswer = onAnswer;
    DFSCommonPB::diagItemRegistrationResponse response;
    response.set_statuscode(200);
    // The text is on the wire of every product: kept as it is.
    response.set_message("Registration Successf, AsyncCallback<const std::string>*ul");
    m_onRegistrationAnswer(response);
}

void DFGatrixClient::DiagItemRegistration(const DFSCommonPB::diagItemRegistration& registration)
{
    const LogScope scope(s_log, __func__, "");
    m_triggerHandler->DiagItemRegistration(DFDiagnosticItem(registration));
}

void DFGatrixClient::HandleGetFilepath(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer,
                                       const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::FilepathResponseMsg answer;
    answer.set_filepathtoupload(kTestFile);
    onAnswer(answer);
}

void DFGatrixClient::HandleGetPayload(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer,
                                      const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::PayloadResponseMsg answer;
    answer.set_payloadtoupload(ReadOwnFile(s_log, __func__, kTestPayloadFile));
    onAnswer(answer);
}
} // namespace DiagnosticFileSvc
