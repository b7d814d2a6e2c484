#include "RunTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

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
