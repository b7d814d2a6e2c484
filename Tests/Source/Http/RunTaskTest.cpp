#include "CapturedLog.h"
#include "RunTask.h"
#include "ScriptedHttpServer.h"
#include "StringUtils.h"

#include <curl/curl.h>

using Server = ScriptedHttpServer;
using testing::ElementsAre;

TEST(RunTask, CarriesItsSettingsOut_AndRetriesAsThePolicySays_ButNothingThatLibcurlRefuses)
{
    const Server::Step loop{Server::Answer(307, "", {{"Location", "/again"}})};
    const auto failure = [](int status) {
        return Server::Step{Server::Answer(status, "", {{"Retry-After", "1"}, {"X-Retry-Count", "2"}})};
    };
    const auto retry = [](auto& settings) {
        settings.retry = Http::RetrySettings::WithBackoff();
        settings.retry.m_RetryBackoffSeconds = {1};
    };
    const std::string gaveUp = "1 The POST request for URL failed with ";
    const std::string refuses = " is not sent, libcurl refuses the ";
    const struct
    {
        std::vector<Server::Step> script;
        std::function<void(Http::HttpRequest&, Http::HttpSettings&)> change;
        std::size_t requests;
        int seconds; ///< that it takes at least
        int curlCode;
        int status;
        std::vector<std::string> lines;
    } cases[] = {
        // clang-format off
        {{{"", Server::Then::Reset}, failure(500), failure(503)}, [&](auto&, auto& s) { retry(s); },
         3, 2, CURLE_OK, 503, {"3 Attempt:1 retrying POST in 1 seconds on URL",
                               "3 Attempt:2 retrying POST in 1 seconds on URL", gaveUp + "503"}},
        {{{"", Server::Then::Hang}}, [](auto&, auto& s) { s.timeOutSeconds = 1; },
         1, 1, CURLE_OPERATION_TIMEDOUT, 0, {gaveUp + "0"}},
        {std::vector(12, loop), [](auto&, auto& s) { s.followRedirects = true; },
         11, 0, CURLE_TOO_MANY_REDIRECTS, 0, {gaveUp + "0"}},
        {{failure(500), {Server::Answer(200)}}, [](auto&, auto& s) { s.fetcherRetryCount = s.fetcherRetryDelaySeconds = 1; },
         2, 1, CURLE_OK, 200, {}},
        {{}, [&](auto& r, auto& s) { r.url.clear(); retry(s); },
         0, 1, CURLE_URL_MALFORMAT, 0, {"3 Attempt:1 retrying POST in 1 seconds on ",
                                        "1 The POST request for  failed with 0"}},
        {{}, [](auto& r, auto&) { r.url = "file:///etc/passwd"; },
         0, 0, CURLE_FAILED_INIT, 0, {"1 The POST request for file:///etc/passwd" + refuses + "URL"}},
        {{}, [](auto& r, auto&) { r.url += std::string("a\0b", 3); },
         0, 0, CURLE_FAILED_INIT, 0, {"1 The POST request for URLa\\x00b" + refuses + "URL"}},
        {{}, [](auto& r, auto&) { r.proxy = "none://127.0.0.1:1"; },
         0, 0, CURLE_FAILED_INIT, 0, {"1 The POST request for URL" + refuses + "proxy"}},
        // clang-format on
    };
    for (const auto& each : cases) {
        const Server server(each.script);
        Http::HttpRequest request{Http::HttpMethod::Post, server.Url(), "", {}, "body", "text/plain", "user", ""};
        Http::HttpSettings settings;
        each.change(request, settings);
        Http::RunTask task(request, settings);
        const CapturedLog log(3);
        const auto start = std::chrono::steady_clock::now();
        task.Run();
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(each.seconds));
        std::vector<std::string> lines = CapturedLog::LinesOf("RunTask", "(?:Run|CheckIfRetryNeededAndSleep): ");
        for (std::string& line : lines) {
            line = StringUtils::FindReplace(line, server.Url(), "URL");
        }
        EXPECT_EQ(lines, each.lines);
        const auto response = task.TakeResponse();
        EXPECT_EQ(response.curlCode, each.curlCode);
        EXPECT_EQ(response.status, each.status);
        EXPECT_EQ(server.Requests().size(), each.requests);
        for (const auto& sent : server.Requests()) {
            EXPECT_EQ(sent.body, "body");
            EXPECT_THAT(sent.Fields("Authorization"), ElementsAre("Basic dXNlcjo="));
        }
    }
}
