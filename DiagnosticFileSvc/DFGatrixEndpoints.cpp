#include "DFGatrixEndpoints.h"

#include "DFConstants.h"
#include "DFDiagnosticItem.h"
#include "DFFiles.h"
#include "DFGatrixError.h"
#include "DFGuard.h"
#include "DFTriggerHandler.h"
#include "StringUtils.h"

namespace DiagnosticFileSvc
{
namespace
{
const DPrint s_log(kGatrixClient);

constexpr char kServiceGroup[] = "DFService";
constexpr char kTestGroup[] = "TestGroup";
constexpr double kVersion = 1.0;

// Whether a request for one file names its one type; one that does not is logged.
bool IsCustomFileRuleKept(const DFSCommonPB::UploadRequest& request, const char* operation)
{
    if (request.filetoupload().empty() || request.filetype_size() == 1) {
        return true;
    }
    LogLine(s_log, LogLevel::Error, operation, kCustomFileNeedsOneType, ", got: ", request.filetype_size());
    return false;
}

DFSCommonPB::UploadResponse UploadResponseOf(const std::string& message, int statusCode)
{
    DFSCommonPB::UploadResponse response;
    response.set_statuscode(statusCode);
    response.set_message(message);
    return response;
}

// Where a posted registration's item goes: blanks are replaced before the trimming, which so has none to remove.
std::string OutputOf(const DFSCommonPB::diagItemRegistration& registration)
{
    if (registration.has_outputfilename()) {
        return kPersistenceDirectory + registration.outputfilename();
    }
    return std::string(kPersistenceDirectory) + kOutputPrefix +
           StringUtils::trim(StringUtils::FindReplace(registration.subtype(), " ", "_"));
}
} // namespace

DFGatrixEndpoints::DFGatrixEndpoints(APTask& task, DFTriggerHandler& triggerHandler)
    : m_task(task),
      m_triggerHandler(triggerHandler),
      m_uploadResponseCB(&task, this, &DFGatrixEndpoints::DiagUploadResponseCB),
      m_uploadNotifyResponseCB(&task, this, &DFGatrixEndpoints::DiagUploadNotifyResponseCB)
{}

void DFGatrixEndpoints::Register(Gatrix::GatrixClientIF& gatrix)
{
    RegisterUploadSysLogsPostRequest(gatrix);
    RegisterNotifications(gatrix);
    RegisterDFSHarvestFilepath(gatrix);
    RegisterDFSHarvestPayload(gatrix);
}

void DFGatrixEndpoints::RegisterUploadSysLogsPostRequest(Gatrix::GatrixClientIF& gatrix)
{
    const LogScope scope(s_log, __func__, "");
    using UploadHandler = Gatrix::GatrixClientIF::PostHandler<DFSCommonPB::UploadRequest, DFSCommonPB::UploadResponse>;
    using RegistrationHandler = Gatrix::GatrixClientIF::PostHandler<DFSCommonPB::diagItemRegistration,
                                                                    DFSCommonPB::diagItemRegistrationResponse>;
    gatrix.RegisterPostHandler(kUploadEndpoint,
                               UploadHandler(&m_task, this, &DFGatrixEndpoints::HandleUploadSysLogsPostRequest),
                               kVersion, kServiceGroup);
    gatrix.RegisterPostHandler(kDiagItemRegistrationEndpoint,
                               RegistrationHandler(&m_task, this, &DFGatrixEndpoints::DiagItemRegistrationPostRequest),
                               kVersion, kServiceGroup);
}

void DFGatrixEndpoints::RegisterNotifications(Gatrix::GatrixClientIF& gatrix)
{
    const LogScope scope(s_log, __func__, "");
    gatrix.SubscribeToNotification(
        kUploadEndpoint,
        AsyncCallback<DFSCommonPB::UploadRequest>(&m_task, this, &DFGatrixEndpoints::UploadSysInfoNotifications),
        kVersion);
    gatrix.SubscribeToNotification(
        kDiagItemRegistrationEndpoint,
        AsyncCallback<DFSCommonPB::diagItemRegistration>(&m_task, this, &DFGatrixEndpoints::DiagItemRegistration),
        kVersion);
}

void DFGatrixEndpoints::RegisterDFSHarvestFilepath(Gatrix::GatrixClientIF& gatrix)
{
    const LogScope scope(s_log, __func__);
    using Handler = Gatrix::GatrixClientIF::GetHandler<DFSCommonPB::FilepathResponseMsg>;
    gatrix.RegisterGetHandler(kTestFilepathEndpoint, Handler(&m_task, this, &DFGatrixEndpoints::HandleGetFilepath),
                              kTestGroup);
}

void DFGatrixEndpoints::RegisterDFSHarvestPayload(Gatrix::GatrixClientIF& gatrix)
{
    const LogScope scope(s_log, __func__);
    using Handler = Gatrix::GatrixClientIF::GetHandler<DFSCommonPB::PayloadResponseMsg>;
    gatrix.RegisterGetHandler(kTestPayloadEndpoint, Handler(&m_task, this, &DFGatrixEndpoints::HandleGetPayload),
                              kTestGroup);
}

void DFGatrixEndpoints::HandleUploadSysLogsPostRequest(const DFSCommonPB::UploadRequest& request,
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
    m_triggerHandler.UploadDiagFileRequest(request, &m_uploadResponseCB);
}

void DFGatrixEndpoints::DiagUploadResponseCB(const std::string& message, int statusCode)
{
    const LogScope scope(s_log, __func__);
    const auto answer = [&] {
        if (statusCode >= 300) {
            if (m_onUploadError) {
                m_onUploadError(MakeError(statusCode, message));
            }
        } else if (m_onUploadAnswer) {
            m_onUploadAnswer(UploadResponseOf(message, statusCode));
        }
    };
    GuardStep(s_log, __func__, "The answer", answer, [this](const std::exception&) {
        // Without them the gateway's library refuses the request itself, so that its requester does not wait.
        m_onUploadAnswer = {};
        m_onUploadError = {};
    });
}

void DFGatrixEndpoints::UploadSysInfoNotifications(const DFSCommonPB::UploadRequest& request)
{
    const LogScope scope(s_log, __func__, "");
    if (IsCustomFileRuleKept(request, __func__)) {
        m_triggerHandler.UploadDiagFileRequest(request, &m_uploadNotifyResponseCB);
    }
}

void DFGatrixEndpoints::DiagUploadNotifyResponseCB(const std::string& /*message*/, int /*statusCode*/)
{
    // A notification has nobody to answer.
    const LogScope scope(s_log, __func__, "DiagUploadNotificationResponseCB", "DiagUploadNotifyResponseCB");
}

void DFGatrixEndpoints::DiagItemRegistrationPostRequest(
    const DFSCommonPB::diagItemRegistration& registration,
    const Callback<DFSCommonPB::diagItemRegistrationResponse>& onAnswer, const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    m_triggerHandler.DiagItemRegistration(DFDiagnosticItem(registration.input(), OutputOf(registration),
                                                           registration.filetype(), registration.subtype(),
                                                           registration.harvesttype()));
    m_onRegistrationAnswer = onAnswer;
    DFSCommonPB::diagItemRegistrationResponse response;
    response.set_statuscode(200);
    // The text is on the wire of every product: kept as it is.
    response.set_message("Registration Successf, AsyncCallback<const std::string>*ul");
    m_onRegistrationAnswer(response);
}

void DFGatrixEndpoints::DiagItemRegistration(const DFSCommonPB::diagItemRegistration& registration)
{
    const LogScope scope(s_log, __func__, "");
    m_triggerHandler.DiagItemRegistration(DFDiagnosticItem(registration));
}

void DFGatrixEndpoints::HandleGetFilepath(const Callback<DFSCommonPB::FilepathResponseMsg>& onAnswer,
                                          const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::FilepathResponseMsg answer;
    answer.set_filepathtoupload(kTestFile);
    onAnswer(answer);
}

void DFGatrixEndpoints::HandleGetPayload(const Callback<DFSCommonPB::PayloadResponseMsg>& onAnswer,
                                         const Callback<Gatrix::Error>& /*onError*/)
{
    const LogScope scope(s_log, __func__);
    DFSCommonPB::PayloadResponseMsg answer;
    answer.set_payloadtoupload(ReadOwnFile(s_log, __func__, kTestPayloadFile));
    onAnswer(answer);
}
} // namespace DiagnosticFileSvc
