#include "SimpleURLFetcher.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>
#include <functional>

#include "CapturedLog.h"
#include "ScriptedHttpServer.h"

using Http::HSMResponse;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers
using Server = ScriptedHttpServer;
using Then = ScriptedHttpServer::Then;
using Strings = std::vector<std::string>;

namespace
{
Server::Step Ok(const std::string& body = {})
{
    return {Server::Answer(200, body)};
}

class SimpleURLFetcher : public Test
{
protected:
    /** Has the fetcher ask a fresh server. */
    void Serve(const std::vector<Server::Step>& script)
    {
        m_server = std::make_unique<Server>(script);
        EXPECT_TRUE(m_fetcher.SetURL(m_server->Url("/here")));
    }

    /** Has the fetcher's sleeps recorded, and no more made than that. */
    void RecordSleeps(std::size_t count)
    {
        m_sleeps.clear();
        m_fetcher.SetSleeper([this, count](int s) { return m_sleeps.push_back(s), m_sleeps.size() < count; });
    }

    Http::SimpleURLFetcher m_fetcher;
    std::unique_ptr<Server> m_server;
    std::vector<int> m_sleeps;
};

bool s_isMemoryShort = false;
} // namespace

TEST_F(SimpleURLFetcher, SendsEachMethod_WhateverCameBefore)
{
    setenv("http_proxy", "http://127.0.0.1:1", 1); // NOLINT(concurrency-mt-unsafe): which is not to be asked
    const std::string json = "{\"a\":1}";
    const std::string binary("\0\xff\r\n binary", 11);
    const Http::HeaderMap headers = {{"X-Token", "t"}};
    const Matcher<Strings> none = IsEmpty(), text = ElementsAre("text/plain");
    const Matcher<Strings> form = ElementsAre(StartsWith("multipart/form-data; boundary="));
    const Matcher<std::string> part = HasSubstr(
        "\r\nContent-Disposition: form-data; name=\"metadata\"\r\n"
        "Content-Type: application/json\r\n\r\n{\"a\":1}\r\n--");
    const std::tuple<std::string, std::function<HSMResponse()>, Matcher<std::string>, Matcher<Strings>> operations[] = {
        {"GET", [&] { return m_fetcher.Get(headers); }, "", none},
        {"PUT", [&] { return m_fetcher.Put(headers, json, "text/plain"); }, json, text},
        {"POST", [&] { return m_fetcher.Post(headers, binary, "text/plain"); }, binary, text},
        {"DELETE", [&] { return m_fetcher.Delete(headers); }, "", none},
        {"POST", [&] { return m_fetcher.Post(headers, "", "text/plain"); }, "", text},
        {"POST", [&] { return m_fetcher.PostMultipartFormData(headers, json); }, part, form},
    };
    Serve(std::vector<Server::Step>(std::size(operations) * std::size(operations) * 2, Ok("answer")));
    // Each method after each other one.
    for (const auto& [before, sendBefore, bodyBefore, typeBefore] : operations) {
        for (const auto& [method, send, body, type] : operations) {
            SCOPED_TRACE(method + " after " + before);
            sendBefore();
            EXPECT_EQ(send().ToString(), "HSMResponse { success: 1, status: 200, response{ answer } }, ");
            const auto request = m_server->Requests().back();
            EXPECT_EQ(request.Line(), method + " /here HTTP/1.1");
            EXPECT_THAT(request.body, body);
            EXPECT_THAT(request.Fields("X-Token"), ElementsAre("t"));
            EXPECT_THAT(request.Fields("Content-Type"), type);
        }
    }
}

TEST_F(SimpleURLFetcher, GathersTheAnswer)
{
    const Server::Step there{Server::Answer(302, "", {{"Location", "/there"}})};
    const Server::Step file{Server::Answer(302, "", {{"Location", "file:///etc/passwd"}})};
    Serve(
        {{Server::Answer(404, "none", {{"Content-Type", "a/b"}, {"X-Case", "Kept"}})}, there, there, Ok("yes"), file});
    HSMResponse response = m_fetcher.Get({});
    EXPECT_EQ(response.ToString(), "HSMResponse { success: 0, status: 404, response{ none } }, ");
    EXPECT_EQ(response.contentType, "a/b");
    EXPECT_EQ(response.effectiveUrl, m_server->Url("/here"));
    EXPECT_EQ(response.headers.at("X-Case"), "Kept");
    EXPECT_EQ(m_fetcher.Get({}).status, 302);

    EXPECT_TRUE(m_fetcher.SetFollowRedirects(true));
    response = m_fetcher.Get({});
    EXPECT_EQ(response.effectiveUrl, m_server->Url("/there"));
    EXPECT_EQ(response.response, "yes");
    EXPECT_EQ(response.headers.count("Location"), 0U);
    EXPECT_EQ(m_fetcher.Get({}).curlCode, CURLE_UNSUPPORTED_PROTOCOL);
}

TEST_F(SimpleURLFetcher, FixesUpTheRequestHeaders)
{
    Serve({Ok()});
    EXPECT_TRUE(m_fetcher.SetSimpleAuthentication("Aladdin", "open sesame"));
    CapturedLog log(7);
    m_fetcher.Post({{"content-type", "a/b"}, {"Authorization", "Replaced"}, {"X-Injected", "a\r\nX-Smuggled: b"}},
                   "body", "text/plain");
    const auto lines = log.LinesOf("SimpleURLFetcher");
    EXPECT_THAT(lines, Contains("1 The header X-Injected has a line break, it is not sent"));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("QWxhZGRpbjpvcGVuIHNlc2FtZQ=="))));
    const auto request = m_server->Requests().at(0);
    EXPECT_THAT(request.Fields("Content-Type"), ElementsAre("text/plain"));
    EXPECT_THAT(request.Fields("Authorization"), ElementsAre("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ=="));
    EXPECT_THAT(request.head, Not(HasSubstr("X-Smuggled")));
}

TEST_F(SimpleURLFetcher, RepeatsAsItsOwnRetryCountSays)
{
    m_fetcher.SetRetryDelay(3);
    const std::tuple<std::size_t, int, std::size_t, bool> cases[] = {
        {1, 0, 1, false}, {9, 2, 3, false}, {1, 2, 2, true}, {5, -1, 6, true}};
    for (const auto& [failures, count, expectedRequests, isDone] : cases) {
        std::vector<Server::Step> script(failures, {Server::Answer(503, "busy", {{"X-Busy", "yes"}})});
        script.push_back(Ok("done"));
        Serve(script);
        RecordSleeps(99);
        m_fetcher.SetRetryCount(count);
        const HSMResponse response = m_fetcher.Put({}, "all of it", "text/plain");
        EXPECT_EQ(response.status, isDone ? 200 : 503);
        EXPECT_EQ(response.response, isDone ? "done" : "busy");
        EXPECT_EQ(response.headers.count("X-Busy"), isDone ? 0U : 1U);
        EXPECT_EQ(m_sleeps, std::vector<int>(expectedRequests - 1, 3));
        ASSERT_EQ(m_server->Requests().size(), expectedRequests);
        EXPECT_EQ(m_server->Requests().back().body, "all of it");
    }
}

TEST_F(SimpleURLFetcher, ReportsWhatIsNoAnswer)
{
    const std::string half = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
    const std::string tooLarge(Http::ResponseCollector::kMaxBodySize + 1, 'x');
    // A URL, or what the server does; the result; how often the exchange is repeated if it may be once.
    const std::tuple<const char*, Server::Step, CURLcode, std::size_t> cases[] = {
        {nullptr, {half, Then::Close}, CURLE_PARTIAL_FILE, 1},
        {nullptr, {"", Then::Reset}, CURLE_RECV_ERROR, 1},
        {nullptr, {"", Then::Close}, CURLE_GOT_NOTHING, 1},
        {nullptr, {Server::Answer(200, tooLarge)}, CURLE_WRITE_ERROR, 1},
        {nullptr, {half, Then::Hang}, CURLE_OPERATION_TIMEDOUT, 0},
        {"", {}, CURLE_URL_MALFORMAT, 0},
        {"file:///etc/passwd", {}, CURLE_UNSUPPORTED_PROTOCOL, 0},
        {"http://127.0.0.1:1/", {}, CURLE_COULDNT_CONNECT, 1},
    };
    m_fetcher.SetRetryCount(1);
    for (const auto& [url, step, expected, repetitions] : cases) {
        SCOPED_TRACE(expected);
        Serve({step, step});
        EXPECT_TRUE(url == nullptr || m_fetcher.SetURL(url));
        EXPECT_TRUE(m_fetcher.SetTimeOut(step.then == Then::Hang ? 0.2F : 1e12F));
        EXPECT_FALSE(m_fetcher.SetTimeOut(-1));
        RecordSleeps(99);
        const HSMResponse response = m_fetcher.Get({});
        EXPECT_EQ(response.curlCode, expected);
        EXPECT_EQ(response.status, 0);
        EXPECT_EQ(response.success, 0);
        EXPECT_EQ(m_sleeps.size(), repetitions);
    }
}

TEST_F(SimpleURLFetcher, WaitsForItsProxy_UntilToldNotTo)
{
    const std::uint16_t port = Server({}).Port();
    m_fetcher.SetURL("http://device.test/x");
    m_fetcher.SetProxy("127.0.0.1:" + std::to_string(port));
    RecordSleeps(3);
    EXPECT_EQ(m_fetcher.Get({}).curlCode, CURLE_COULDNT_CONNECT);
    EXPECT_THAT(m_sleeps, ElementsAre(5, 5, 5));

    m_fetcher.SetSleeper([&](int) { return m_server = std::make_unique<Server>(std::vector{Ok()}, port), true; });
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
    EXPECT_EQ(m_server->Requests().at(0).Line(), "GET http://device.test/x HTTP/1.1");
}

TEST_F(SimpleURLFetcher, HidesItsConnectionFromChildProcesses)
{
    Serve({{"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", Then::Hang}}); // left open by both ends
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
    int connections = 0;
    for (int descriptor = 3; descriptor < 100; ++descriptor) {
        sockaddr peer{};
        socklen_t length = sizeof peer;
        if (getpeername(descriptor, &peer, &length) == 0 && peer.sa_family == AF_INET) {
            EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
            ++connections;
        }
    }
    EXPECT_EQ(connections, 2) << "the client's end and the server's";
}

TEST(SimpleURLFetcherWithoutMemory, FailsAtOnce)
{
    const auto allocate = [](std::size_t size) { return s_isMemoryShort ? nullptr : std::malloc(size); };
    const auto zeroed = [](std::size_t n, std::size_t size) {
        return s_isMemoryShort ? nullptr : std::calloc(n, size);
    };
    curl_global_init_mem(CURL_GLOBAL_DEFAULT, allocate, std::free, std::realloc, strdup, zeroed);
    CapturedLog log(0);
    s_isMemoryShort = true;
    Http::SimpleURLFetcher fetcher;
    s_isMemoryShort = false;
    EXPECT_FALSE(fetcher.IsUsable() || fetcher.SetURL("http://127.0.0.1/") || fetcher.SetTimeOut(1));
    for (const auto& response :
         {fetcher.Get({}), fetcher.Post({}, "", ""), fetcher.Put({}, "", ""), fetcher.Delete({})}) {
        EXPECT_EQ(response.curlCode, CURLE_FAILED_INIT);
    }
    EXPECT_THAT(log.LinesOf("SimpleURLFetcher"),
                IsSupersetOf({"0 Could not create curlHandle!", "0 SetURL, m_curlHandle is NULL, returning an error",
                              "0 PUT, m_curlHandle is NULL, returning an error"}));
}
