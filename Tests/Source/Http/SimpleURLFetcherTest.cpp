#include "SimpleURLFetcher.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include "CapturedLog.h"
#include "Deadline.h"
#include "ScriptedHttpServer.h"

using Http::HSMResponse;
using Http::SimpleURLFetcher;
using testing::ElementsAre;
using testing::HasSubstr;
using Server = ScriptedHttpServer;
using Then = ScriptedHttpServer::Then;

namespace
{
const std::string kBinary("\0\xff\r\n binary", 11);

Server::Step Ok(const std::string& body = {})
{
    return {Server::Answer(200, body)};
}

std::uint16_t FreePort()
{
    return Server({}).Port();
}

bool s_isMemoryShort = false;
void* Allocate(std::size_t size)
{
    return s_isMemoryShort ? nullptr : std::malloc(size);
}
void* Reallocate(void* old, std::size_t size)
{
    return s_isMemoryShort ? nullptr : std::realloc(old, size);
}
void* AllocateZeroed(std::size_t count, std::size_t size)
{
    return s_isMemoryShort ? nullptr : std::calloc(count, size);
}
char* Duplicate(const char* text)
{
    return s_isMemoryShort ? nullptr : strdup(text);
}
} // namespace

TEST(SimpleURLFetcher, SendsEachMethod_WhateverCameBefore)
{
    SimpleURLFetcher fetcher;
    const std::string body = "{\"a\":1}";
    const Http::HeaderMap headers = {{"X-Token", "t"}};
    const struct
    {
        std::string method;
        std::function<HSMResponse()> send;
        std::string body;
    } operations[] = {
        {"GET", [&] { return fetcher.Get(headers); }, ""},
        {"PUT", [&] { return fetcher.Put(headers, body, "text/plain"); }, body},
        {"POST", [&] { return fetcher.Post(headers, kBinary, "text/plain"); }, kBinary},
        {"DELETE", [&] { return fetcher.Delete(headers); }, ""},
        {"POST", [&] { return fetcher.Post(headers, "", "text/plain"); }, ""},
    };
    constexpr std::size_t kCount = std::size(operations);
    // Each method after each other one.
    Server server(std::vector<Server::Step>(kCount * kCount * 2, Ok("answer")));
    ASSERT_TRUE(fetcher.SetURL(server.Url("/path?q=1")));
    std::size_t sent = 0;
    for (const auto& before : operations) {
        for (const auto& now : operations) {
            before.send();
            const HSMResponse response = now.send();
            EXPECT_EQ(response.ToString(), "HSMResponse { success: 1, status: 200, response{ answer } }, ");
            sent += 2;
            const auto request = server.Requests().at(sent - 1);
            SCOPED_TRACE(now.method + " after " + before.method);
            EXPECT_EQ(request.Line(), now.method + " /path?q=1 HTTP/1.1");
            EXPECT_EQ(request.body, now.body);
            EXPECT_THAT(request.Fields("X-Token"), ElementsAre("t"));
            EXPECT_EQ(request.Fields("Content-Type").size(), now.method == "GET" || now.method == "DELETE" ? 0U : 1U);
        }
    }
}

TEST(SimpleURLFetcher, GathersTheAnswer)
{
    Server server({{Server::Answer(404, "none", {{"Content-Type", "text/x"}, {"X-Case", "Kept"}})},
                   {Server::Answer(302, "", {{"Location", "/there"}})},
                   Ok("found")});
    SimpleURLFetcher fetcher;
    fetcher.SetURL(server.Url("/here"));
    HSMResponse response = fetcher.Get({});
    EXPECT_EQ(response.success, 0);
    EXPECT_EQ(response.status, 404);
    EXPECT_EQ(response.response, "none");
    EXPECT_EQ(response.contentType, "text/x");
    EXPECT_EQ(response.effectiveUrl, server.Url("/here"));
    EXPECT_EQ(response.headers.at("X-Case"), "Kept");

    EXPECT_TRUE(fetcher.SetFollowRedirects(true));
    response = fetcher.Get({});
    EXPECT_EQ(response.effectiveUrl, server.Url("/there"));
    EXPECT_EQ(response.response, "found");
    EXPECT_EQ(response.headers.count("Location"), 0U);
}

TEST(SimpleURLFetcher, FixesUpTheRequestHeaders)
{
    Server server({Ok()});
    SimpleURLFetcher fetcher;
    fetcher.SetURL(server.Url());
    EXPECT_TRUE(fetcher.SetSimpleAuthentication("Aladdin", "open sesame"));
    CapturedLog log(7);
    fetcher.Post({{"content-type", "text/replaced"},
                  {"Authorization", "Replaced"},
                  {"X-Empty", ""},
                  {"X-Injected", "a\r\nX-Smuggled: b"}},
                 "body", "text/plain");
    const auto lines = log.LinesOf("SimpleURLFetcher");
    EXPECT_THAT(lines, testing::Contains("1 The header X-Injected has a line break, it is not sent"));
    EXPECT_THAT(lines, testing::Not(testing::Contains(HasSubstr("QWxhZGRpbjpvcGVuIHNlc2FtZQ=="))));
    const auto request = server.Requests().at(0);
    EXPECT_THAT(request.Fields("Content-Type"), ElementsAre("text/plain"));
    EXPECT_THAT(request.Fields("Authorization"), ElementsAre("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ=="));
    EXPECT_THAT(request.head, testing::Not(testing::AnyOf(HasSubstr("X-Empty"), HasSubstr("X-Smuggled"))));
}

TEST(SimpleURLFetcher, PostsAForm)
{
    Server server({Ok(), Ok()});
    SimpleURLFetcher fetcher;
    fetcher.SetURL(server.Url());
    EXPECT_EQ(fetcher.PostMultipartFormData({}, "{\"a\":1}").status, 200);
    const auto form = server.Requests().at(0);
    ASSERT_EQ(form.Fields("Content-Type").size(), 1U);
    const std::string start = "multipart/form-data; boundary=";
    const std::string type = form.Fields("Content-Type")[0];
    ASSERT_EQ(type.substr(0, start.size()), start);
    const std::string boundary = "--" + type.substr(start.size());
    EXPECT_EQ(form.body, boundary +
                             "\r\nContent-Disposition: form-data; name=\"metadata\"\r\nContent-Type: application/json"
                             "\r\n\r\n{\"a\":1}\r\n" +
                             boundary + "--\r\n");
    EXPECT_EQ(fetcher.Post({}, "plain", "text/plain").status, 200);
    EXPECT_EQ(server.Requests().at(1).body, "plain");
}

TEST(SimpleURLFetcher, RepeatsAsItsOwnRetryCountSays)
{
    const Server::Step busy{Server::Answer(503, "busy", {{"X-Busy", "yes"}})};
    const struct
    {
        std::size_t busyAnswers;
        std::size_t expectedRequests;
        int count;
        std::int32_t expectedStatus;
    } cases[] = {{1, 1, 0, 503}, {9, 3, 2, 503}, {1, 2, 2, 200}, {5, 6, -1, 200}};
    for (const auto& c : cases) {
        std::vector<Server::Step> script(c.busyAnswers, busy);
        script.push_back(Ok("done"));
        Server server(script);
        SimpleURLFetcher fetcher;
        fetcher.SetURL(server.Url());
        fetcher.SetRetryCount(c.count);
        fetcher.SetRetryDelay(3);
        std::vector<int> sleeps;
        fetcher.SetSleeper([&sleeps](int seconds) {
            sleeps.push_back(seconds);
            return true;
        });
        CapturedLog log;
        const HSMResponse response = fetcher.Put({}, "all of it", "text/plain");
        EXPECT_EQ(log.LinesOf("TestAutomation"), std::vector<std::string>(c.expectedRequests - 1, "6 HTTP Retry"));
        EXPECT_EQ(response.status, c.expectedStatus);
        EXPECT_EQ(response.response, c.expectedStatus == 200 ? "done" : "busy");
        EXPECT_EQ(response.headers.count("X-Busy"), c.expectedStatus == 200 ? 0U : 1U);
        EXPECT_EQ(sleeps, std::vector<int>(c.expectedRequests - 1, 3));
        ASSERT_EQ(server.Requests().size(), c.expectedRequests);
        EXPECT_EQ(server.Requests().back().body, "all of it");
    }
}

TEST(SimpleURLFetcher, ReportsWhatIsNoAnswer)
{
    const std::string half = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
    const std::string tooLarge(Http::ResponseCollector::kMaxBodySize + 1, 'x');
    const struct
    {
        const char* url; ///< null for the server's
        Server::Step step;
        CURLcode expected;
        bool isRepeated;
    } cases[] = {
        {nullptr, {half, Then::Close}, CURLE_PARTIAL_FILE, true},
        {nullptr, {"", Then::Reset}, CURLE_RECV_ERROR, true},
        {nullptr, {"", Then::Close}, CURLE_GOT_NOTHING, true},
        {nullptr, {Server::Answer(200, tooLarge)}, CURLE_WRITE_ERROR, true},
        {nullptr, {half, Then::Hang}, CURLE_OPERATION_TIMEDOUT, false},
        {"", {}, CURLE_URL_MALFORMAT, false},
        {"file:///etc/passwd", {}, CURLE_UNSUPPORTED_PROTOCOL, false},
        {"http://127.0.0.1:1/", {}, CURLE_COULDNT_CONNECT, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        Server server({c.step, c.step});
        SimpleURLFetcher fetcher;
        fetcher.SetURL(c.url == nullptr ? server.Url() : c.url);
        EXPECT_TRUE(fetcher.SetTimeOut(c.step.then == Then::Hang ? 0.2F : 20));
        fetcher.SetRetryCount(1);
        int sleeps = 0;
        fetcher.SetSleeper([&sleeps](int) { return ++sleeps > 0; });
        const HSMResponse response = fetcher.Get({});
        EXPECT_EQ(response.curlCode, c.expected);
        EXPECT_EQ(response.status, 0);
        EXPECT_EQ(response.success, 0);
        EXPECT_EQ(sleeps, c.isRepeated ? 1 : 0);
    }
}

TEST(SimpleURLFetcher, WaitsForItsProxy_UntilToldNotTo)
{
    SimpleURLFetcher fetcher;
    const std::uint16_t port = FreePort();
    fetcher.SetURL("http://device.test/x");
    fetcher.SetProxy("127.0.0.1:" + std::to_string(port));

    int sleeps = 0;
    fetcher.SetSleeper([&sleeps](int seconds) {
        EXPECT_EQ(seconds, 5);
        return ++sleeps < 3;
    });
    EXPECT_EQ(fetcher.Get({}).curlCode, CURLE_COULDNT_CONNECT);
    EXPECT_EQ(sleeps, 3);

    std::unique_ptr<Server> proxy;
    fetcher.SetSleeper([&proxy, port](int) {
        proxy = std::make_unique<Server>(std::vector{Ok()}, port);
        return true;
    });
    EXPECT_EQ(fetcher.Get({}).status, 200);
    EXPECT_EQ(proxy->Requests().at(0).Line(), "GET http://device.test/x HTTP/1.1");
}

TEST(SimpleURLFetcher, TakesNoProxyFromTheEnvironment)
{
    setenv("http_proxy", "http://127.0.0.1:1", 1); // NOLINT(concurrency-mt-unsafe): no other thread runs yet
    Server server({Ok()});
    SimpleURLFetcher fetcher;
    fetcher.SetURL(server.Url());
    EXPECT_EQ(fetcher.Get({}).status, 200);
}

TEST(SimpleURLFetcher, FailsAtOnceWithoutAHandle)
{
    ASSERT_EQ(curl_global_init_mem(CURL_GLOBAL_DEFAULT, Allocate, std::free, Reallocate, Duplicate, AllocateZeroed),
              CURLE_OK);
    CapturedLog log(0);
    s_isMemoryShort = true;
    SimpleURLFetcher fetcher;
    s_isMemoryShort = false;
    EXPECT_FALSE(fetcher.IsUsable());
    EXPECT_FALSE(fetcher.SetURL("http://127.0.0.1/"));
    EXPECT_FALSE(fetcher.SetTimeOut(1));
    EXPECT_FALSE(fetcher.SetValidateServerCertificate(true));
    for (const HSMResponse& response :
         {fetcher.Get({}), fetcher.Post({}, "", ""), fetcher.Put({}, "", ""), fetcher.Delete({})}) {
        EXPECT_EQ(response.success, 0);
        EXPECT_EQ(response.curlCode, CURLE_FAILED_INIT);
    }
    EXPECT_THAT(log.LinesOf("SimpleURLFetcher"),
                ElementsAre("0 Could not create curlHandle!", "0 SetURL, m_curlHandle is NULL, returning an error",
                            "0 SetTimeOut, m_curlHandle is NULL, returning an error",
                            "0 SetValidateServerCertificate, m_curlHandle is NULL, returning an error",
                            "0 GET, m_curlHandle is NULL, returning an error",
                            "0 POST, m_curlHandle is NULL, returning an error",
                            "0 PUT, m_curlHandle is NULL, returning an error",
                            "0 DELETE, m_curlHandle is NULL, returning an error"));
}

TEST(SimpleURLFetcher, TakesSettingsAndRefusesNonsense)
{
    WriteWholeFile("/persist/mfg_data.json", "{\"development\":\"true\"}");
    SimpleURLFetcher fetcher;
    EXPECT_TRUE(fetcher.IsDevelopment());
    for (const bool validate : {true, false, false, true}) {
        EXPECT_TRUE(fetcher.SetValidateServerCertificate(validate));
        EXPECT_TRUE(fetcher.SetValidateHostCertificate(validate));
    }
    CapturedLog log(1);
    EXPECT_FALSE(fetcher.SetTimeOut(-1));
    EXPECT_THAT(log.LinesOf("SimpleURLFetcher"),
                ElementsAre("1 SetTimeOut, curl_easy_setup error, returning an error"));
    EXPECT_TRUE(fetcher.SetTimeOut(1e12F));
}

TEST(SimpleURLFetcher, HidesItsConnectionFromChildProcesses)
{
    Server server({{"", Then::Hang}});
    std::thread exchange([&server] {
        SimpleURLFetcher fetcher;
        fetcher.SetURL(server.Url());
        fetcher.SetTimeOut(2);
        fetcher.Get({});
    });
    ASSERT_TRUE(server.WaitForRequests(1));
    int connections = 0;
    for (int descriptor = 3; descriptor < 100; ++descriptor) {
        sockaddr_in peer{};
        socklen_t length = sizeof peer;
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &length) == 0 && peer.sin_family == AF_INET) {
            EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
            ++connections;
        }
    }
    EXPECT_EQ(connections, 2) << "the client's end and the server's";
    exchange.join();
}
