#include "RunTask.h"

#include <curl/curl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>

#include "CapturedLog.h"
#include "ScriptedHttpServer.h"

using Server = ScriptedHttpServer;
using testing::ElementsAre;

TEST(RunTask, RetriesAsThePolicySays_AndEndsWithTheLastResponse)
{
    Server server({{"", Server::Then::Reset},
                   {Server::Answer(500, "", {{"Retry-After", "1"}, {"X-Retry-Count", "2"}})},
                   {Server::Answer(503, "last", {{"Retry-After", "1"}, {"X-Retry-Count", "2"}})}});
    const Http::HttpRequest request{Http::HttpMethod::Post, server.Url("/x"), "", {}, "body", "text/plain", "user", ""};
    Http::HttpSettings settings;
    settings.retry = Http::RetrySettings::WithBackoff();
    settings.retry.m_RetryBackoffSeconds = {1};
    Http::RunTask task(request, settings);

    CapturedLog log(3);
    const auto start = std::chrono::steady_clock::now();
    task.Run();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_THAT(log.LinesOf("RunTask", "CheckIfRetryNeededAndSleep: "),
                ElementsAre("3 Attempt:1 retrying POST in 1 seconds on " + request.url,
                            "3 Attempt:2 retrying POST in 1 seconds on " + request.url,
                            "1 The POST request for " + request.url + " failed with 503"));
    EXPECT_EQ(task.TakeResponse().response, "last");
    ASSERT_EQ(server.Requests().size(), 3U);
    for (const auto& sent : server.Requests()) {
        EXPECT_EQ(sent.body, "body");
        EXPECT_THAT(sent.Fields("Authorization"), ElementsAre("Basic dXNlcjo="));
    }
}

TEST(RunTask, CarriesItsSettingsOut_AndRetriesNothingThatLibcurlRefuses)
{
    const Server::Step loop{Server::Answer(302, "", {{"Location", "/again"}})};
    const std::string failed = "1 The GET request for URL failed with 0",
                      notSent = "1 The GET request for URL is not sent";
    const std::string file = "file:///etc/passwd";
    const auto followRedirects = [](auto&, auto& s) { s.followRedirects = true; };
    const auto retryOnce = [](auto&, auto& s) { s.fetcherRetryCount = s.fetcherRetryDelaySeconds = 1; };
    const auto dropUrl = [](auto& r, auto& s) {
        r.url.clear();
        s.retry.m_RetryBackoffSeconds = {1};
        s.retry.m_RetryableStatuses = {0};
    };
    const struct
    {
        std::vector<Server::Step> script;
        std::function<void(Http::HttpRequest&, Http::HttpSettings&)> change;
        int curlCode;
        std::size_t requests;
        std::vector<std::string> lines;
    } cases[] = {
        {{{"", Server::Then::Hang}},
         [](auto&, auto& s) { s.timeOutSeconds = 1; },
         CURLE_OPERATION_TIMEDOUT,
         1,
         {failed}},
        {std::vector(12, loop), followRedirects, CURLE_TOO_MANY_REDIRECTS, 11, {failed}},
        {{{Server::Answer(500)}, {Server::Answer(200)}}, retryOnce, CURLE_OK, 2, {}},
        {{},
         dropUrl,
         CURLE_URL_MALFORMAT,
         0,
         {"3 Attempt:1 retrying GET in 1 seconds on ", "1 The GET request for  failed with 0"}},
        {{},
         [&](auto& r, auto&) { r.url = file; },
         CURLE_FAILED_INIT,
         0,
         {"1 The GET request for " + file + " is not sent, libcurl refuses the URL"}},
        {{},
         [](auto& r, auto&) { r.url += std::string("a\0b", 3); },
         CURLE_FAILED_INIT,
         0,
         {"1 The GET request for URLa\\x00b is not sent, libcurl refuses the URL"}},
        {{},
         [](auto& r, auto&) { r.proxy = "none://127.0.0.1:1"; },
         CURLE_FAILED_INIT,
         0,
         {notSent + ", libcurl refuses the proxy"}},
    };
    for (const auto& each : cases) {
        const Server server(each.script);
        Http::HttpRequest request;
        request.url = server.Url();
        Http::HttpSettings settings;
        each.change(request, settings);
        Http::RunTask task(request, settings);
        const CapturedLog log(3);
        const auto start = std::chrono::steady_clock::now();
        task.Run();
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(settings.fetcherRetryDelaySeconds));
        std::vector<std::string> lines = CapturedLog::LinesOf("RunTask", "(?:Run|CheckIfRetryNeededAndSleep): ");
        for (std::string& line : lines) {
            const std::size_t at = line.find(server.Url());
            line = at == std::string::npos ? line : line.replace(at, server.Url().size(), "URL");
        }
        EXPECT_EQ(lines, each.lines);
        const auto response = task.TakeResponse();
        EXPECT_EQ(response.curlCode, each.curlCode);
        EXPECT_EQ(response.status, each.curlCode == CURLE_OK ? 200 : 0);
        EXPECT_EQ(server.Requests().size(), each.requests);
    }
}
