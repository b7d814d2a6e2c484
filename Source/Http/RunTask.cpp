#include "RunTask.h"

#include "HttpLog.h"
#include "HttpUrl.h"
#include "WallClock.h"

#include <algorithm>
#include <limits>
#include <string>
#include <sys/types.h>
#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("RunTask");

const char* MethodName(HttpMethod method)
{
    switch (method) {
        case HttpMethod::Post:
            return "POST";
        case HttpMethod::Get:
            return "GET";
        case HttpMethod::Delete:
            return "DELETE";
        case HttpMethod::Put:
            return "PUT";
    }
    return "";
}
} // namespace

RunTask::RunTask(HttpRequest request, HttpSettings settings, std::unique_ptr<SimpleURLFetcher> fetcher)
    : m_request(std::move(request)),
      m_settings(std::move(settings)),
      m_fetcher(std::move(fetcher)),
      m_policy(m_settings.retry)
{
    m_waiter.ClearWakeCalled();
}

void RunTask::Run()
{
    s_log.Log(kMostDetailedLevel, "Run(data size:%zd headers2Add size:%zd, method:%d)\n", m_request.body.size(),
              m_request.headers2Add.size(), static_cast<int>(m_request.method));
    const char* const method = MethodName(m_request.method);
    const char* const refused = PrepareFetcher();
    if (refused != nullptr && m_fetcher->IsUsable()) {
        LogLine(s_log, 1, __func__, "The ", method, " request for ", m_request.url, " is not sent, libcurl refuses ",
                refused);
        m_response.curlCode = CURLE_FAILED_INIT;
    } else {
        do {
            LogLine(s_log, 6, __func__, method, " ", m_request.url);
            m_response = Send();
            // Without a curl handle there is nothing to retry with.
        } while (m_fetcher->IsUsable() && CheckIfRetryNeededAndSleep(m_request, m_response, method));
    }
    std::string().swap(m_request.body);
}

void RunTask::Cancel()
{
    s_log.Log(kMostDetailedLevel, "RunTask::Cancel()\n");
    m_waiter.Wake();
}

// What libcurl refuses of the request, for the log; null for nothing.
const char* RunTask::PrepareFetcher()
{
    if (!m_fetcher) {
        m_fetcher = std::make_unique<SimpleURLFetcher>();
    }
    m_fetcher->SetSleeper([this](int seconds) { return Sleep(static_cast<std::uint32_t>(seconds)); });
    m_fetcher->SetBodyBound(m_settings.bodyBound);
    m_fetcher->SetRetryCount(m_settings.fetcherRetryCount);
    m_fetcher->SetRetryDelay(m_settings.fetcherRetryDelaySeconds);
    const std::string& url = m_request.url;
    const std::string& proxy = m_request.proxy;
    // While an exchange runs, a proxy that libcurl cannot use looks like one that is down.
    if (!proxy.empty() && (!IsHttpUrl(proxy) || !m_fetcher->SetProxy(proxy))) {
        return "the proxy";
    }
    // Without a URL the request fails like one without an answer, and is retried like it: deliberate.
    if ((!url.empty() && !IsHttpUrl(url)) || !m_fetcher->SetURL(url)) {
        return "the URL";
    }
    if (!m_fetcher->SetTimeOut(static_cast<float>(m_settings.timeOutSeconds))) {
        return "the time-out";
    }
    if ((!m_request.userName.empty() || !m_request.password.empty()) &&
        !m_fetcher->SetSimpleAuthentication(m_request.userName, m_request.password)) {
        return "the credentials";
    }
    if (m_settings.followRedirects && !m_fetcher->SetFollowRedirects(true)) {
        return "redirects";
    }
    return nullptr;
}

HSMResponse RunTask::Send()
{
    switch (m_request.method) {
        case HttpMethod::Post:
            return m_fetcher->Post(m_request.headers2Add, m_request.body, m_request.contentType);
        case HttpMethod::Get:
            return m_fetcher->Get(m_request.headers2Add);
        case HttpMethod::Delete:
            return m_fetcher->Delete(m_request.headers2Add);
        case HttpMethod::Put:
            return m_fetcher->Put(m_request.headers2Add, m_request.body, m_request.contentType);
    }
    return {};
}

bool RunTask::CheckIfRetryNeededAndSleep(const HttpRequest& request, const HSMResponse& response, const char* method)
{
    const RetryDecision decision = m_policy.Decide(response, WallClock::Seconds());
    switch (decision.action) {
        case RetryDecision::Action::Finished:
            return false;
        case RetryDecision::Action::GiveUp:
            LogLine(s_log, 1, __func__, "The ", method, " request for ", request.url, " failed with ", response.status);
            return false;
        case RetryDecision::Action::Retry:
            LogLine(s_log, 3, __func__, "Attempt:", m_policy.State().attemptCount, " retrying ", method, " in ",
                    decision.seconds, " seconds on ", request.url);
            return Sleep(decision.seconds);
    }
    return false;
}

bool RunTask::Sleep(std::uint32_t seconds)
{
    constexpr std::uint32_t kLongest = std::numeric_limits<int>::max();
    switch (m_waiter.Wait(static_cast<int>(std::min(seconds, kLongest)))) {
        case EventWaiter::Result::TimedOut:
            LogLine(s_log, 6, __func__, "Sleep completed");
            return true;
        case EventWaiter::Result::Woken:
            LogLine(s_log, 4, __func__, "The request was cancelled");
            return false;
        case EventWaiter::Result::Error:
            break;
    }
    LogLine(s_log, 0, __func__, "Could not set a wait event to retry request, request will be cancelled");
    return false;
}
} // namespace Http
