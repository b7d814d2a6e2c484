#include "SimpleURLFetcher.h"

#include "HttpLog.h"
#include "MfgData.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <thread>
#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("SimpleURLFetcher");
const DPrint s_testAutomationLog("TestAutomation");

constexpr int kProxyRetrySeconds = 5;

// A cloud names URLs of any length.
constexpr int kLoggedUrl = kLongestLoggedText;

bool SleepFor(int seconds)
{
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return true;
}

bool IsFinal(int curlCode)
{
    switch (curlCode) {
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

struct FormFree
{
    void operator()(curl_httppost* form) const { curl_formfree(form); }
};
} // namespace

SimpleURLFetcher::SimpleURLFetcher() : m_sleeper(SleepFor), m_isDevelopment(MfgData::Get("development") == "true") {}

bool SimpleURLFetcher::CheckHandle_(const char* operation) const
{
    if (!IsUsable()) {
        s_log.Log(0, "%s, m_curlHandle is NULL, returning an error", operation);
    }
    return IsUsable();
}

template <class Setting, class Value>
bool SimpleURLFetcher::SetRemembered_(const char* setter, Setting& remembered, const Setting& wanted, CURLoption option,
                                      Value value)
{
    if (!CheckHandle_(setter)) {
        return false;
    }
    if (wanted != remembered) {
        if (!m_curlHandle.Set(option, value)) {
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
        if (milliseconds < 0 || !m_curlHandle.Set(CURLOPT_TIMEOUT_MS, milliseconds) ||
            !m_curlHandle.Set(CURLOPT_CONNECTTIMEOUT_MS, milliseconds)) {
            s_log.Log(1, "SetTimeOut, curl_easy_setup error, returning an error");
            return false;
        }
        m_timeOut = seconds;
    }
    return true;
}

bool SimpleURLFetcher::SetSimpleAuthentication(const std::string& userName, const std::string& password)
{
    const std::string pair = userName + ":" + password;
    const bool isGiven = !userName.empty() || !password.empty();
    return SetRemembered_(__func__, m_credentials, isGiven ? pair : std::string(), CURLOPT_USERPWD, pair.c_str());
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
    const bool isReady = CheckHandle_("DELETE") && SetNothingToSend_() &&
                         m_curlHandle.Set(CURLOPT_CUSTOMREQUEST, "DELETE") && FixupRequestHeaders_(headers2Add, {});
    return isReady ? DoSendREceive_() : NotSent_("DELETE");
}

HSMResponse SimpleURLFetcher::Post(const HeaderMap& headers2Add, const std::string& body,
                                   const std::string& contentType)
{
    const bool isReady = CheckHandle_("POST") && SetNothingToSend_() && m_curlHandle.Set(CURLOPT_POST, 1L) &&
                         m_curlHandle.Set(CURLOPT_POSTFIELDS, body.c_str()) &&
                         m_curlHandle.Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size())) &&
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
    const bool isReady = SetNothingToSend_() && m_curlHandle.Set(CURLOPT_HTTPPOST, form.get()) &&
                         FixupRequestHeaders_(headers2Add, "multipart/form-data");
    HSMResponse response = isReady ? DoSendREceive_() : NotSent_("POST");
    m_curlHandle.Set(CURLOPT_HTTPPOST, static_cast<curl_httppost*>(nullptr));
    return response;
}

HSMResponse SimpleURLFetcher::Put(const HeaderMap& headers2Add, const std::string& body, const std::string& contentType)
{
    const bool isReady = CheckHandle_("PUT") && SetNothingToSend_() && m_curlHandle.Set(CURLOPT_CUSTOMREQUEST, "PUT") &&
                         m_curlHandle.Set(CURLOPT_PUT, 1L) && m_curlHandle.SetUpload(body) &&
                         FixupRequestHeaders_(headers2Add, contentType);
    return isReady ? DoSendREceive_() : NotSent_("PUT");
}

// The state from which every method starts: a GET, with nothing left of the request before.
bool SimpleURLFetcher::SetNothingToSend_()
{
    return m_curlHandle.Set(CURLOPT_CUSTOMREQUEST, static_cast<const char*>(nullptr)) &&
           m_curlHandle.Set(CURLOPT_POSTFIELDS, static_cast<const char*>(nullptr)) &&
           m_curlHandle.Set(CURLOPT_HTTPGET, 1L) &&
           m_curlHandle.Set(CURLOPT_READFUNCTION, static_cast<curl_read_callback>(nullptr)) &&
           m_curlHandle.Set(CURLOPT_UPLOAD, 0L);
}

bool SimpleURLFetcher::FixupRequestHeaders_(const HeaderMap& headers2Add, const std::string& contentType)
{
    auto headers = MakeRequestHeaders(headers2Add, contentType, m_credentials);
    if (!headers || !m_curlHandle.Set(CURLOPT_HTTPHEADER, headers->get())) {
        return false;
    }
    m_requestHeaders = std::move(*headers);
    return true;
}

HSMResponse SimpleURLFetcher::NotSent_(const char* operation) const
{
    if (IsUsable()) {
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
    m_curlHandle.Perform(response);
    while (response.success == 0 && !IsFinal(response.curlCode)) {
        int seconds = m_retryDelay;
        if (response.curlCode == CURLE_COULDNT_CONNECT && !m_proxy.empty()) {
            seconds = kProxyRetrySeconds;
            s_log.Log(2, "SimpleURLFetcher: Failed to connect to the proxy, retrying connection after: %d", seconds);
        } else {
            s_log.Log(3, "SimpleURLFetcher: retry needed, Curl %d, http %d, retries remaining %d\n", response.curlCode,
                      response.status, retriesLeft);
            if (retriesLeft == 0) {
                break;
            }
            retriesLeft -= retriesLeft > 0 ? 1 : 0;
        }
        // Called for 0 seconds, too: a cancellation must be seen between any two exchanges.
        if (!m_sleeper(std::max(seconds, 0))) {
            break;
        }
        s_testAutomationLog.Log(6, "HTTP Retry\n");
        m_curlHandle.Perform(response);
    }
    if (response.curlCode == CURLE_OK) {
        s_log.Log(6, "URL Fetch ('%.*s') succeeded with CURL HTTP Status %d\n", kLoggedUrl, m_url.c_str(),
                  response.status);
    } else {
        s_log.LogWarning("URL Fetch ('%.*s') failed with CURL ErrorCode %d\n", kLoggedUrl, m_url.c_str(),
                         response.curlCode);
    }
    return response;
}
} // namespace Http
