#include "RunTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "CapturedLog.h"
#include "ScriptedHttpServer.h"

using Http::HttpMethod;
using Http::HttpRequest;
using Http::HttpSettings;
using Http::RunTask;
using testing::ElementsAre;
using Server = ScriptedHttpServer;

namespace
{
HttpRequest Request(const Server& server)
{
    HttpRequest request;
    request.method = HttpMethod::Post;
    request.url = server.Url("/x");
    request.body = "body";
    request.contentType = "text/plain";
    request.userName = "user";
    return request;
}

HttpSettings Settings()
{
    HttpSettings settings;
    settings.retry = Http::RetrySettings::WithBackoff();
    settings.retry.m_RetryBackoffSeconds = {1, 1};
    return settings;
}
} // namespace

TEST(RunTask, RetriesUntilItSucceeds)
{
    Server server({{"", Server::Then::Reset},
                   {Server::Answer(500, "", {{"Retry-After", "1"}, {"X-Retry-Count", "2"}})},
                   {Server::Answer(201, "made")}});
    CapturedLog log(3);
    RunTask task(Request(server), Settings());
    const auto start = std::chrono::steady_clock::now();
    task.Run();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_THAT(log.LinesOf("RunTask", "CheckIfRetryNeededAndSleep"),
                ElementsAre("3 Attempt:1 retrying POST in 1 seconds on " + server.Url("/x"),
                            "3 Attempt:2 retrying POST in 1 seconds on " + server.Url("/x")));
    EXPECT_EQ(task.TakeResponse().response, "made");
    ASSERT_EQ(server.Requests().size(), 3U);
    for (const auto& request : server.Requests()) {
        EXPECT_EQ(request.body, "body");
        EXPECT_THAT(request.Fields("Authorization"), ElementsAre("Basic dXNlcjo="));
    }
}

TEST(RunTask, GivesUpWithTheLastResponse)
{
    Server server({{Server::Answer(503, "last", {{"X-Retry-Count", "0"}})}});
    CapturedLog log;
    RunTask task(Request(server), Settings());
    task.Run();
    const auto lines = log.LinesOf("RunTask");
    EXPECT_EQ(lines.front(), "6 Run: POST " + server.Url("/x"));
    EXPECT_EQ(lines.back(),
              "1 CheckIfRetryNeededAndSleep: The POST request for " + server.Url("/x") + " failed with 503");
    EXPECT_EQ(task.TakeResponse().response, "last");
}

TEST(RunTask, WaitsNoMoreOnceCancelled)
{
    Server server({{Server::Answer(503, "last")}});
    CapturedLog log(7);
    RunTask task(Request(server), Settings());
    task.Cancel();
    task.Run();
    const auto lines = log.LinesOf("RunTask");
    EXPECT_EQ(lines[0], "7 RunTask::Cancel()");
    EXPECT_EQ(lines[1], "7 Run(data size:4 headers2Add size:0, method:0)");
    EXPECT_EQ(lines.back(), "4 Sleep: The request was cancelled");
    EXPECT_EQ(task.TakeResponse().status, 503);
}
