#include "SimpleURLFetcher.h"

#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <thread>
#include <utility>

#include "Base64Encoder.h"
#include "HttpLog.h"
#include "MfgData.h"

namespace Http
{
namespace
{
const DPrint s_log("SimpleURLFetcher");
const DPrint s_testAutomationLog("TestAutomation");

constexpr int kProxyRetrySeconds = 5;

void ReportFailure(int line)
{
    std::fprintf(stderr, "*** failed at %s line %d\n", __FILE__, line);
}

bool SleepFor(int seconds)
{
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return true;
}

bool IsSuccess(std::int32_t status)
{
    return status >= 200 && status <= 299;
}

bool IsFinal(CURLcode result)
{
    switch (result) {
        case CURLE_UNSUPPORTED_PROTOCOL:
        case CURLE_FAILED_INIT:
        case CURLE_URL_MALFORMAT:
        case CURLE_NOT_BUILT_IN:
        case CURLE_OUT_OF_MEMORY:
        case CURLE_OPERATION_TIMEDOUT:
            return true;
        default:
            return false;
    }
}

long ToMilliseconds(float seconds)
{
    constexpr double kLongest = std::numeric_limits<std::int32_t>::max();
    return static_cast<long>(std::clamp(double{seconds} * 1000, -1.0, kLongest));
}

bool IsName(const std::string& name, const char* other)
{
    return strcasecmp(name.c_str(), other) == 0;
}

/** A line feed within a field would begin another one, of whoever wrote the value. */
bool IsOneLine(const std::string& text)
{
    return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
}

struct FormFree
{
    void operator()(curl_httppost* form) const { curl_formfree(form); }
};
} // namespace

SimpleURLFetcher::SimpleURLFetcher()
    : m_curlHandle(curl_easy_init()), m_sleeper(SleepFor), m_isDevelopment(MfgData::Get("development") == "true")
{
    if (m_curlHandle == nullptr) {
        ReportFailure(__LINE__);
        s_log.Log(0, "Could not create curlHandle!");
        return;
    }
    SetOption_(CURLOPT_NOSIGNAL, 1L);
    SetOption_(CURLOPT_SSL_VERIFYPEER, m_verifyPeer ? 1L : 0L);
    SetOption_(CURLOPT_WRITEFUNCTION, &SimpleURLFetcher::CollectBody_);
    SetOption_(CURLOPT_WRITEDATA, &m_collector);
    SetOption_(CURLOPT_HEADERFUNCTION, &SimpleURLFetcher::CollectHeader_);
    SetOption_(CURLOPT_HEADERDATA, &m_collector);

    // An address that a server names must not make the device read its own files, or speak to its mail server.
    SetOption_(CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
    SetOption_(CURLOPT_REDIR_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
    // HTTP/2 has header names in lower case, and retry headers are looked up by their exact names.
    SetOption_(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // Empty is not unset: unset would have libcurl look at the environment.
    SetOption_(CURLOPT_PROXY, "");
    SetOption_(CURLOPT_NOPROXY, "");
    SetOption_(CURLOPT_OPENSOCKETFUNCTION, &SimpleURLFetcher::OpenSocket_);
}

SimpleURLFetcher::~SimpleURLFetcher()
{
    curl_easy_cleanup(m_curlHandle);
    curl_slist_free_all(m_requestHeaders);
}

bool SimpleURLFetcher::CheckHandle_(const char* operation) const
{
    if (m_curlHandle == nullptr) {
        s_log.Log(0, "%s, m_curlHandle is NULL, returning an error", operation);
    }
    return m_curlHandle != nullptr;
}

template <class Value>
bool SimpleURLFetcher::SetOption_(CURLoption option, Value value)
{
    return curl_easy_setopt(m_curlHandle, option, value) == CURLE_OK;
}

template <class Value>
bool SimpleURLFetcher::GetInfo_(CURLINFO info, Value& value, int line)
{
    if (curl_easy_getinfo(m_curlHandle, info, &value) != CURLE_OK) {
        ReportFailure(line);
        return false;
    }
    return true;
}

template <class Setting, class Value>
bool SimpleURLFetcher::SetRemembered_(const char* setter, Setting& remembered, const Setting& wanted, CURLoption option,
                                      Value value)
{
    if (!CheckHandle_(setter)) {
        return false;
    }
    if (wanted != remembered) {
        if (!SetOption_(option, value)) {
            return false;
        }
        remembered = wanted;
    }
    return true;
}

bool SimpleURLFetcher::SetURL(const std::string& url)
{
    s_log.Log(kMostDetailedLevel, "SimpleURLFetcher::SetURL (%s)\n", url.c_str());
    return SetRemembered_(__func__, m_url, url, CURLOPT_URL, url.c_str());
}

bool SimpleURLFetcher::SetProxy(const std::string& proxy)
{
    s_log.Log(kMostDetailedLevel, "SimpleURLFetcher::SetProxy (%s)\n", proxy.c_str());
    return SetRemembered_(__func__, m_proxy, proxy, CURLOPT_PROXY, proxy.c_str());
}

bool SimpleURLFetcher::SetValidateServerCertificate(bool validate)
{
    return SetRemembered_(__func__, m_verifyPeer, validate, CURLOPT_SSL_VERIFYPEER, validate ? 1L : 0L);
}

bool SimpleURLFetcher::SetValidateHostCertificate(bool validate)
{
    return SetRemembered_(__func__, m_verifyHost, validate, CURLOPT_SSL_VERIFYHOST, validate ? 2L : 0L);
}

bool SimpleURLFetcher::SetFollowRedirects(bool follow)
{
    return SetRemembered_(__func__, m_followRedirects, follow, CURLOPT_FOLLOWLOCATION, follow ? 1L : 0L);
}

bool SimpleURLFetcher::SetTimeOut(float seconds)
{
    if (!CheckHandle_(__func__)) {
        return false;
    }
    if (seconds != m_timeOut) {
        const long milliseconds = ToMilliseconds(seconds);
        // libcurl itself takes a negative time for a very long one.
        if (milliseconds < 0 || !SetOption_(CURLOPT_TIMEOUT_MS, milliseconds) ||
            !SetOption_(CURLOPT_CONNECTTIMEOUT_MS, milliseconds)) {
            s_log.Log(1, "SetTimeOut, curl_easy_setup error, returning an error");
            return false;
        }
        m_timeOut = seconds;
    }
    return true;
}

bool SimpleURLFetcher::SetSimpleAuthentication(const std::string& userName, const std::string& password)
{
    if (!CheckHandle_(__func__)) {
        return false;
    }
    if (userName != m_userName || password != m_password) {
        if (!SetOption_(CURLOPT_USERPWD, (userName + ":" + password).c_str())) {
            return false;
        }
        m_userName = userName;
        m_password = password;
    }
    return true;
}

void SimpleURLFetcher::SetSleeper(Sleeper sleeper)
{
    m_sleeper = sleeper ? std::move(sleeper) : SleepFor;
}

HSMResponse SimpleURLFetcher::Get(const HeaderMap& headers2Add)
{
    const bool isReady = CheckHandle_("GET") && SetNothingToSend_() && FixupRequestHeaders_(headers2Add, {});
    return isReady ? DoSendREceive_() : NotSent_("GET");
}

HSMResponse SimpleURLFetcher::Delete(const HeaderMap& headers2Add)
{
    const bool isReady = CheckHandle_("DELETE") && SetNothingToSend_() && SetOption_(CURLOPT_CUSTOMREQUEST, "DELETE") &&
                         FixupRequestHeaders_(headers2Add, {});
    return isReady ? DoSendREceive_() : NotSent_("DELETE");
}

HSMResponse SimpleURLFetcher::Post(const HeaderMap& headers2Add, const std::string& body,
                                   const std::string& contentType)
{
    const bool isReady = CheckHandle_("POST") && SetNothingToSend_() && SetOption_(CURLOPT_POST, 1L) &&
                         SetOption_(CURLOPT_POSTFIELDS, body.c_str()) &&
                         SetOption_(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())) &&
                         FixupRequestHeaders_(headers2Add, contentType);
    return isReady ? DoSendREceive_() : NotSent_("POST");
}

HSMResponse SimpleURLFetcher::PostMultipartFormData(const HeaderMap& headers2Add, const std::string& metadata)
{
    s_log.Log(kMostDetailedLevel, "PostMultipartFormData\n");
    if (!CheckHandle_("POST")) {
        return NotSent_("POST");
    }
    curl_httppost* first = nullptr;
    curl_httppost* last = nullptr;
    const CURLFORMcode added = curl_formadd(&first, &last, CURLFORM_COPYNAME, "metadata", CURLFORM_CONTENTTYPE,
                                            "application/json", CURLFORM_PTRCONTENTS, metadata.c_str(),
                                            CURLFORM_CONTENTSLENGTH, static_cast<long>(metadata.size()), CURLFORM_END);
    const std::unique_ptr<curl_httppost, FormFree> form(first);
    if (added != CURL_FORMADD_OK) {
        s_log.Log(1, "POST multipart, Unable to curl_formadd for metadata");
        return NotSent_("POST");
    }
    const bool isReady = SetNothingToSend_() && SetOption_(CURLOPT_HTTPPOST, form.get()) &&
                         FixupRequestHeaders_(headers2Add, "multipart/form-data");
    HSMResponse response = isReady ? DoSendREceive_() : NotSent_("POST");
    SetOption_(CURLOPT_HTTPPOST, static_cast<curl_httppost*>(nullptr));
    return response;
}

HSMResponse SimpleURLFetcher::Put(const HeaderMap& headers2Add, const std::string& body, const std::string& contentType)
{
    m_upload.body = &body;
    const bool isReady =
        CheckHandle_("PUT") && SetNothingToSend_() && SetOption_(CURLOPT_CUSTOMREQUEST, "PUT") &&
        SetOption_(CURLOPT_PUT, 1L) && SetOption_(CURLOPT_READFUNCTION, &SimpleURLFetcher::ReadUpload_) &&
        SetOption_(CURLOPT_READDATA, &m_upload) && SetOption_(CURLOPT_SEEKFUNCTION, &SimpleURLFetcher::SeekUpload_) &&
        SetOption_(CURLOPT_SEEKDATA, &m_upload) && SetOption_(CURLOPT_UPLOAD, 1L) &&
        SetOption_(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(body.size())) &&
        FixupRequestHeaders_(headers2Add, contentType);
    return isReady ? DoSendREceive_() : NotSent_("PUT");
}

/** The state from which every method starts: a GET, with nothing left of the request before. */
bool SimpleURLFetcher::SetNothingToSend_()
{
    return SetOption_(CURLOPT_CUSTOMREQUEST, static_cast<const char*>(nullptr)) &&
           SetOption_(CURLOPT_POSTFIELDS, static_cast<const char*>(nullptr)) && SetOption_(CURLOPT_HTTPGET, 1L) &&
           SetOption_(CURLOPT_READFUNCTION, static_cast<curl_read_callback>(nullptr)) && SetOption_(CURLOPT_UPLOAD, 0L);
}

bool SimpleURLFetcher::FixupRequestHeaders_(const HeaderMap& headers2Add, const std::string& contentType)
{
    curl_slist* list = nullptr;
    const auto append = [&list](const std::string& line) {
        curl_slist* const longer = curl_slist_append(list, line.c_str());
        list = longer != nullptr ? longer : list;
        return longer != nullptr;
    };

    const bool hasCredentials = !m_userName.empty() || !m_password.empty();
    bool isComplete = true;
    for (const auto& [name, value] : headers2Add) {
        if (!IsOneLine(name) || !IsOneLine(value)) {
            s_log.Log(1, "The header %s has a line break, it is not sent\n", name.c_str());
            continue;
        }
        const bool isReplaced =
            (!contentType.empty() && IsName(name, "Content-Type")) || (hasCredentials && IsName(name, "Authorization"));
        std::string line = name;
        line.append(": ").append(value);
        isComplete = (isReplaced || append(line)) && isComplete;
    }
    if (!contentType.empty()) {
        isComplete = append("Content-Type: " + contentType) && isComplete;
    }
    if (hasCredentials) {
        // The basic scheme of RFC 7617. libcurl, which has the credentials too, leaves the header to this line.
        const std::string credentials = Base64Encoder::Encode(m_userName + ":" + m_password);
        isComplete = append("Authorization: Basic " + credentials) && isComplete;
    }
    isComplete = isComplete && SetOption_(CURLOPT_HTTPHEADER, list);
    if (!isComplete) {
        curl_slist_free_all(list);
        return false;
    }
    curl_slist_free_all(std::exchange(m_requestHeaders, list));
    return true;
}

HSMResponse SimpleURLFetcher::NotSent_(const char* operation) const
{
    if (m_curlHandle != nullptr) {
        s_log.Log(1, "%s, the request cannot be put together, returning an error", operation);
    }
    HSMResponse response;
    response.curlCode = CURLE_FAILED_INIT;
    return response;
}

HSMResponse SimpleURLFetcher::DoSendREceive_()
{
    HSMResponse response;
    int retriesLeft = m_retryCount;
    CURLcode result = SendOnce_(response);
    while (response.success == 0 && !IsFinal(result)) {
        int seconds = m_retryDelay;
        if (result == CURLE_COULDNT_CONNECT && !m_proxy.empty()) {
            seconds = kProxyRetrySeconds;
            s_log.Log(2, "SimpleURLFetcher: Failed to connect to the proxy, retrying connection after: %d", seconds);
        } else {
            s_log.Log(3, "SimpleURLFetcher: retry needed, Curl %d, http %d, retries remaining %d\n", result,
                      response.status, retriesLeft);
            if (retriesLeft == 0) {
                break;
            }
            retriesLeft -= retriesLeft > 0 ? 1 : 0;
        }
        // Asked for no time as well: whoever wants no further exchange must be heard between any two of them.
        if (!m_sleeper(std::max(seconds, 0))) {
            break;
        }
        s_testAutomationLog.Log(6, "HTTP Retry\n");
        result = SendOnce_(response);
    }
    Finish_(result, response);
    return response;
}

CURLcode SimpleURLFetcher::SendOnce_(HSMResponse& response)
{
    m_collector.Clear();
    m_upload.offset = 0;
    response = HSMResponse();
    const CURLcode result = curl_easy_perform(m_curlHandle);
    // The status of an answer that broke off is none: its body cannot be trusted to be what the server meant.
    long status = 0;
    if (result == CURLE_OK && GetInfo_(CURLINFO_RESPONSE_CODE, status, __LINE__)) {
        response.status = static_cast<std::int32_t>(status);
        response.success = IsSuccess(response.status) ? 1 : 0;
    }
    return result;
}

void SimpleURLFetcher::Finish_(CURLcode result, HSMResponse& response)
{
    response.curlCode = result;
    response.headers = m_collector.TakeHeaders();
    response.response = m_collector.TakeBody();
    if (result != CURLE_OK) {
        s_log.LogWarning("URL Fetch ('%s') failed with CURL ErrorCode %d\n", m_url.c_str(), result);
        return;
    }
    const char* text = nullptr;
    if (GetInfo_(CURLINFO_CONTENT_TYPE, text, __LINE__) && text != nullptr) {
        response.contentType = text;
    }
    text = nullptr;
    if (GetInfo_(CURLINFO_EFFECTIVE_URL, text, __LINE__) && text != nullptr) {
        response.effectiveUrl = text;
    }
    s_log.Log(6, "URL Fetch ('%s') succeeded with CURL HTTP Status %d\n", m_url.c_str(), response.status);
}

std::size_t SimpleURLFetcher::CollectHeader_(char* data, std::size_t size, std::size_t count, void* collector)
{
    return static_cast<ResponseCollector*>(collector)->AddHeaderLine({data, size * count}) ? size * count : 0;
}

std::size_t SimpleURLFetcher::CollectBody_(char* data, std::size_t size, std::size_t count, void* collector)
{
    return static_cast<ResponseCollector*>(collector)->AddBody({data, size * count}) ? size * count : 0;
}

std::size_t SimpleURLFetcher::ReadUpload_(char* buffer, std::size_t size, std::size_t count, void* upload)
{
    auto& [body, offset] = *static_cast<Upload*>(upload);
    const std::size_t length = body->copy(buffer, size * count, offset);
    offset += length;
    return length;
}

int SimpleURLFetcher::SeekUpload_(void* upload, curl_off_t offset, int origin)
{
    auto& [body, current] = *static_cast<Upload*>(upload);
    if (origin != SEEK_SET || offset < 0 || static_cast<std::size_t>(offset) > body->size()) {
        return CURL_SEEKFUNC_FAIL;
    }
    current = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

curl_socket_t SimpleURLFetcher::OpenSocket_(void*, curlsocktype, curl_sockaddr* address)
{
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}
} // namespace Http
