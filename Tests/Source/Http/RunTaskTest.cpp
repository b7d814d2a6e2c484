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
    const std::string loop = Server::Answer(302, "", {{"Location", "/again"}});
    const std::string answer = Server::Answer(200, "answer");
    const struct
    {
        const char* name;
        std::vector<Server::Step> script;
        std::function<void(Http::HttpRequest&, Http::HttpSettings&)> change;
        int status;
        int curlCode;
        std::string body;
        std::size_t requests;
        std::vector<std::string> lines = {}; ///< but for the URL
    } cases[] = {
        {"the time-out",
         {{"", Server::Then::Hang}},
         [](auto&, auto& s) { s.timeOutSeconds = 1; },
         0,
         CURLE_OPERATION_TIMEDOUT,
         "",
         1,
         {"1 The GET request for URL failed with 0"}},
        {"one redirect",
         {{loop}, {answer}},
         [](auto&, auto& s) { s.followRedirects = true; },
         200,
         CURLE_OK,
         "answer",
         2},
        {"redirects without end",
         std::vector<Server::Step>(12, {loop}),
         [](auto&, auto& s) { s.followRedirects = true; },
         0,
         CURLE_TOO_MANY_REDIRECTS,
         "",
         11,
         {"1 The GET request for URL failed with 0"}},
        {"the fetcher's retries",
         {{Server::Answer(500)}, {answer}},
         [](auto&, auto& s) { s.fetcherRetryCount = 1; },
         200,
         CURLE_OK,
         "answer",
         2},
        {"the fetcher's delay, cancelled",
         {{Server::Answer(500, "first")}},
         [](auto&, auto& s) { s.fetcherRetryCount = 1, s.fetcherRetryDelaySeconds = 900; },
         500,
         CURLE_OK,
         "first",
         1,
         {"1 The GET request for URL failed with 500"}},
        {"a long body, cut", {{answer}}, [](auto&, auto& s) { s.bodyBound.bytes = 3; }, 200, CURLE_OK, "ans", 1},
        {"a long body, refused",
         {{answer}},
         [](auto&, auto& s) {
             s.bodyBound = {3, Http::LongBody::Refuse};
         },
         0,
         CURLE_WRITE_ERROR,
         "",
         1,
         {"1 The GET request for URL failed with 0"}},
        {"no URL, as an answer that does not come",
         {},
         [](auto& r, auto& s) {
             r.url.clear();
             s.retry.m_RetryBackoffSeconds = {1};
             s.retry.m_RetryableStatuses = {0};
         },
         0,
         CURLE_URL_MALFORMAT,
         "",
         0,
         {"3 Attempt:1 retrying GET in 1 seconds on ", "1 The GET request for  failed with 0"}},
        {"no URL of the web",
         {},
         [](auto& r, auto&) { r.url = "file:///etc/passwd"; },
         0,
         CURLE_FAILED_INIT,
         "",
         0,
         {"1 The GET request for file:///etc/passwd is not sent, libcurl refuses the URL"}},
        {"no URL at all",
         {},
         [](auto& r, auto&) { r.url = "http://a b/"; },
         0,
         CURLE_FAILED_INIT,
         "",
         0,
         {"1 The GET request for http://a b/ is not sent, libcurl refuses the URL"}},
        {"a proxy's scheme",
         {},
         [](auto& r, auto&) { r.proxy = "none://127.0.0.1:1"; },
         0,
         CURLE_FAILED_INIT,
         "",
         0,
         {"1 The GET request for URL is not sent, libcurl refuses the proxy"}},
        {"a proxy's port",
         {},
         [](auto& r, auto&) { r.proxy = "127.0.0.1:99999"; },
         0,
         CURLE_FAILED_INIT,
         "",
         0,
         {"1 The GET request for URL is not sent, libcurl refuses the proxy"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const Server server(each.script);
        Http::HttpRequest request;
        request.url = server.Url();
        Http::HttpSettings settings;
        each.change(request, settings);
        Http::RunTask task(request, settings);
        const CapturedLog log(3);
        if (settings.fetcherRetryDelaySeconds > 0) {
            task.Cancel();
        }
        task.Run();
        std::vector<std::string> lines = CapturedLog::LinesOf("RunTask", "(?:Run|CheckIfRetryNeededAndSleep): ");
        for (std::string& line : lines) {
            const std::size_t at = line.find(server.Url());
            line = at == std::string::npos ? line : line.replace(at, server.Url().size(), "URL");
        }
        EXPECT_EQ(lines, each.lines);
        const auto response = task.TakeResponse();
        EXPECT_EQ(response.status, each.status);
        EXPECT_EQ(response.curlCode, each.curlCode);
        EXPECT_EQ(response.response, each.body);
        EXPECT_EQ(server.Requests().size(), each.requests);
    }
}
