#pragma once

#include "EventWaiter.h"
#include "HSMResponse.h"
#include "HttpRequest.h"
#include "HttpSettings.h"
#include "IRunTask.h"
#include "RetryPolicy.h"
#include "SimpleURLFetcher.h"

#include <memory>

namespace Http
{
/** One HTTP operation with its retries. Run once, on a thread of its own; only Cancel may come from elsewhere. */
class RunTask final : public IRunTask
{
public:
    /** @param fetcher what to send with; null for one of its own. */
    RunTask(HttpRequest request, HttpSettings settings, std::unique_ptr<SimpleURLFetcher> fetcher = nullptr);

    /**
     * Performs the operation until it succeeds, fails for good or is cancelled. A URL or proxy that libcurl refuses is
     * logged and not tried again. The request's body is released at the end, so that a handle that is kept for long
     * keeps no archive in memory.
     */
    void Run() override;

    /** An exchange that is under way is not broken off. Thread-safe. */
    void Cancel() override;

    /** After Run has returned: the last response. */
    HSMResponse TakeResponse() { return std::move(m_response); }

private:
    const char* PrepareFetcher();
    HSMResponse Send();
    bool CheckIfRetryNeededAndSleep(const HttpRequest& request, const HSMResponse& response, const char* method);
    bool Sleep(std::uint32_t seconds);

    HttpRequest m_request;
    const HttpSettings m_settings;
    std::unique_ptr<SimpleURLFetcher> m_fetcher;
    RetryPolicy m_policy;
    EventWaiter m_waiter;
    HSMResponse m_response;
};
} // namespace Http
