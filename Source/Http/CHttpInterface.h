#pragma once

#include "AsyncCallback.h"
#include "HSMResponse.h"
#include "HttpRequest.h"
#include "HttpSettings.h"
#include "IHttpOpHandle.h"
#include "ISimpleURLFetcherCallback.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Http
{
/**
 * The HTTP client of tasks. Each call returns at once; its exchange runs with its retries on a thread of its own.
 * Whatever happens, exactly one outcome is posted to the callback's task. Calls are independent of each other.
 *
 * It may be destroyed while calls are under way: they go on. Runs on the task's thread.
 *
 * Arguments of the operations: the URL; the request headers to add; the body, which is moved in and held in memory
 * once; its content type (empty for none); the callback; and `handle`, set to the handle of the operation.
 */
class CHttpInterface
{
public:
    /**
     * Has the process ignore SIGPIPE: a server that hangs up must not kill the service.
     *
     * @param useDefaultBackoff whether the usual back-off table and retryable statuses are filled in; otherwise both
     *                          are empty
     * @param proxy             "host:port" of the HTTP proxy, empty for none
     */
    explicit CHttpInterface(bool useDefaultBackoff, std::string proxy = {});

    /** For the operations to come; those under way keep what they were started with. */
    void SetSettings(HttpSettings settings);
    const HttpSettings& Settings() const noexcept { return m_settings; }

    void Get(const std::string& url, const HeaderMap& headers, const AsyncCallback<HSMResponse>& callback,
             std::shared_ptr<IHttpOpHandle>& handle);

    /**
     * Writes the body of a successful answer to the file, see HSMFileFetcherCallback. The file is whole or as it was: a
     * body beyond the bound of the settings fails the operation.
     */
    void GetUrlAsFile(const std::string& url, const std::string& path, const HeaderMap& headers,
                      const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle);

    void Delete(const std::string& url, const HeaderMap& headers, const AsyncCallback<HSMResponse>& callback,
                std::shared_ptr<IHttpOpHandle>& handle);

    /** With a back-off table of its own, in seconds, for this call. */
    void Delete(const std::string& url, const HeaderMap& headers, const std::vector<std::uint32_t>& retryBackoffSeconds,
                const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle);

    void Post(const std::string& url, const HeaderMap& headers, std::string body, const std::string& contentType,
              const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle);

    void PostBinaryData(const std::string& url, const HeaderMap& headers, std::string bytes,
                        const std::string& contentType, const AsyncCallback<HSMResponse>& callback,
                        std::shared_ptr<IHttpOpHandle>& handle);

    void Put(const std::string& url, const HeaderMap& headers, std::string body, const std::string& contentType,
             const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle);

    /**
     * The operation of that method on http://host:8090/resource, a service of the device itself. Body and content type
     * are of a POST or PUT.
     */
    void CallDeviceService(HttpMethod method, const std::string& host, const std::string& resource,
                           const HeaderMap& headers, std::string body, const std::string& contentType,
                           const AsyncCallback<HSMResponse>& callback, std::shared_ptr<IHttpOpHandle>& handle);

private:
    HttpRequest NewRequest(HttpMethod method, const std::string& url, const HeaderMap& headers, std::string body = {},
                           const std::string& contentType = {}) const;
    void SendBody(const char* operation, HttpMethod method, const std::string& url, const HeaderMap& headers,
                  std::string body, const std::string& contentType, const AsyncCallback<HSMResponse>& callback,
                  std::shared_ptr<IHttpOpHandle>& handle) const;
    static void Submit(HttpRequest request, HttpSettings settings,
                       const std::shared_ptr<ISimpleURLFetcherCallback>& callback,
                       std::shared_ptr<IHttpOpHandle>& handle);

    const std::string m_proxy;
    HttpSettings m_settings;
};
} // namespace Http
