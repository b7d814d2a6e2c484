#include "CHttpInterface.h"

#include "AsyncTaskRunner.h"
#include "HSMFileFetcherCallback.h"
#include "HSMSimpleURLFetcherCallback.h"
#include "HttpLog.h"
#include "HttpOpHandle.h"
#include "RunTask.h"

#include <curl/curl.h>

#include <csignal>
#include <exception>
#include <utility>

namespace Http
{
namespace
{
const DPrint s_log("CHttpInterface");

HSMResponse NothingSent()
{
    HSMResponse response;
    response.curlCode = CURLE_FAILED_INIT;
    return response;
}

// Runs an operation and passes its outcome on, exactly once.
class Operation final : public Threads_Http::IRunnable
{
public:
    Operation(std::shared_ptr<RunTask> task, std::shared_ptr<ISimpleURLFetcherCallback> callback)
        : m_task(std::move(task)), m_callback(std::move(callback))
    {}

    void Run() override { m_callback->OnFetchCompleted(Outcome()); }

private:
    HSMResponse Outcome() const
    {
        try {
            m_task->Run();
            return m_task->TakeResponse();
        } catch (const std::exception& error) {
            LogLine(s_log, 1, __func__, "The operation ended with an exception: ", error.what());
            return NothingSent();
        }
    }

    const std::shared_ptr<RunTask> m_task;
    const std::shared_ptr<ISimpleURLFetcherCallback> m_callback;
};
} // namespace

CHttpInterface::CHttpInterface(bool useDefaultBackoff, std::string proxy) : m_proxy(std::move(proxy))
{
    if (useDefaultBackoff) {
        m_settings.retry = RetrySettings::WithBackoff();
    }
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
}

void CHttpInterface::SetSettings(HttpSettings settings)
{
    m_settings = std::move(settings);
}

void CHttpInterface::Get(const std::string& url, const HeaderMap& headers, const AsyncCallback<HSMResponse>& callback,
                         std::shared_ptr<IHttpOpHandle>& handle)
{
    s_log.Log(kMostDetailedLevel, "CHttpInterface::Get(url:%s)\n", url.c_str());
    Submit(NewRequest(HttpMethod::Get, url, headers), m_settings,
           std::make_shared<HSMSimpleURLFetcherCallback>(callback), handle);
}

void CHttpInterface::GetUrlAsFile(const std::string& url, const std::string& path, const HeaderMap& headers,
                                  const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle)
{
    s_log.Log(kMostDetailedLevel, "CHttpInterface::GetUrlAsFile(url:%s)\n", url.c_str());
    HttpSettings settings = m_settings;
    settings.bodyBound.longBody = LongBody::Refuse;
    Submit(NewRequest(HttpMethod::Get, url, headers), std::move(settings),
           std::make_shared<HSMFileFetcherCallback>(path, callback), handle);
}

void CHttpInterface::Delete(const std::string& url, const HeaderMap& headers,
                            const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle)
{
    s_log.Log(kMostDetailedLevel, "CHttpInterface::Delete(url:%s)\n", url.c_str());
    Submit(NewRequest(HttpMethod::Delete, url, headers), m_settings,
           std::make_shared<HSMSimpleURLFetcherCallback>(callback), handle);
}

void CHttpInterface::Delete(const std::string& url, const HeaderMap& headers,
                            const std::vector<std::uint32_t>& retryBackoffSeconds,
                            const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle)
{
    s_log.Log(kMostDetailedLevel, "CHttpInterface::Delete(url:%s) with retryBackoffSeconds\n", url.c_str());
    HttpSettings settings = m_settings;
    settings.retry.m_RetryBackoffSeconds = retryBackoffSeconds;
    Submit(NewRequest(HttpMethod::Delete, url, headers), std::move(settings),
           std::make_shared<HSMSimpleURLFetcherCallback>(callback), handle);
}

void CHttpInterface::Post(const std::string& url, const HeaderMap& headers, std::string body,
                          const std::string& contentType, const AsyncCallback<HSMResponse>& callback,
                          std::shared_ptr<IHttpOpHandle>& handle)
{
    SendBody("Post", HttpMethod::Post, url, headers, std::move(body), contentType, callback, handle);
}

void CHttpInterface::PostBinaryData(const std::string& url, const HeaderMap& headers, std::string bytes,
                                    const std::string& contentType, const AsyncCallback<HSMResponse>& callback,
                                    std::shared_ptr<IHttpOpHandle>& handle)
{
    SendBody("PostBinaryData", HttpMethod::Post, url, headers, std::move(bytes), contentType, callback, handle);
}

void CHttpInterface::Put(const std::string& url, const HeaderMap& headers, std::string body,
                         const std::string& contentType, const AsyncCallback<HSMResponse>& callback,
                         std::shared_ptr<IHttpOpHandle>& handle)
{
    SendBody("Put", HttpMethod::Put, url, headers, std::move(body), contentType, callback, handle);
}

void CHttpInterface::SendBody(const char* operation, HttpMethod method, const std::string& url,
                              const HeaderMap& headers, std::string body, const std::string& contentType,
                              const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle) const
{
    s_log.Log(kMostDetailedLevel, "CHttpInterface::%s(url:%s)\n", operation, url.c_str());
    Submit(NewRequest(method, url, headers, std::move(body), contentType), m_settings,
           std::make_shared<HSMSimpleURLFetcherCallback>(callback), handle);
}

void CHttpInterface::CallDeviceService(HttpMethod method, const std::string& host, const std::string& resource,
                                       const HeaderMap& headers, std::string body, const std::string& contentType,
                                       const AsyncCallback<HSMResponse>& callback,
                                       std::shared_ptr<IHttpOpHandle>& handle)
{
    const std::string url = "http://" + host + ":8090/" + resource;
    switch (method) {
        case HttpMethod::Post:
            return Post(url, headers, std::move(body), contentType, callback, handle);
        case HttpMethod::Get:
            return Get(url, headers, callback, handle);
        case HttpMethod::Delete:
            return Delete(url, headers, callback, handle);
        case HttpMethod::Put:
            return Put(url, headers, std::move(body), contentType, callback, handle);
    }
}

HttpRequest CHttpInterface::NewRequest(HttpMethod method, const std::string& url, const HeaderMap& headers,
                                       std::string body, const std::string& contentType) const
{
    HttpRequest request;
    request.method = method;
    request.url = url;
    request.proxy = m_proxy;
    request.headers2Add = headers;
    request.body = std::move(body);
    request.contentType = contentType;
    return request;
}

void CHttpInterface::Submit(HttpRequest request, HttpSettings settings,
                            const std::shared_ptr<ISimpleURLFetcherCallback>& callback,
                            std::shared_ptr<IHttpOpHandle>& handle)
{
    try {
        const auto task = std::make_shared<RunTask>(std::move(request), std::move(settings));
        handle = std::make_shared<HttpOpHandle>(task);
        AsyncTaskRunner::GetInstance().Run(std::make_shared<Operation>(task, callback));
    } catch (const std::exception& error) {
        LogLine(s_log, 1, __func__, "The operation cannot be started: ", error.what());
        callback->OnFetchCompleted(NothingSent());
    }
}
} // namespace Http
