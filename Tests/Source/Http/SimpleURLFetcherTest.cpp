#include "CapturedLog.h"
#include "ChildProcess.h"
#include "RunTask.h"
#include "ScriptedHttpServer.h"
#include "SimpleURLFetcher.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <optional>

using Http::HSMResponse;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers
using Server = ScriptedHttpServer;
using Then = ScriptedHttpServer::Then;

static Server::Step Ok(const std::string& body = {})
{
    return {Server::Answer(200, body)};
}

struct SimpleURLFetcherTest : Test
{
    void Serve(const std::vector<Server::Step>& script)
    {
        m_server = std::make_unique<Server>(script);
        EXPECT_TRUE(m_fetcher.SetURL(m_server->Url("/here")));
    }

    /** Has the fetcher's sleeps recorded in place of being made, and the tenth one cancelled. */
    SimpleURLFetcherTest()
    {
        m_fetcher.SetSleeper([this](int seconds) {
            m_sleeps.push_back(seconds);
            return m_sleeps.size() < 10;
        });
    }

    Http::SimpleURLFetcher m_fetcher;
    std::unique_ptr<Server> m_server;
    std::vector<int> m_sleeps;
};

static bool s_isMemoryShort = false;

/** How exchanges end, in place of taking place. */
static std::optional<CURLcode> s_exchangeResult;

CURLcode curl_easy_perform(CURL* handle)
{
    static const auto perform = reinterpret_cast<CURLcode (*)(CURL*)>(dlsym(RTLD_NEXT, "curl_easy_perform"));
    return s_exchangeResult ? *s_exchangeResult : perform(handle);
}

TEST_F(SimpleURLFetcherTest, SendsNothingOfTheRequestBefore)
{
    setenv("http_proxy", "http://127.0.0.1:1", 1); // NOLINT(concurrency-mt-unsafe): which is not to be asked
    const std::string binary("\0\xff\r\n binary", 11);
    const std::pair<std::function<void()>, Matcher<std::string>> operations[] = {
        {[&] { m_fetcher.Get({}); }, "GET  "},
        {[&] { m_fetcher.Put({}, "put", "a/b"); }, "PUT a/b put"},
        {[&] { m_fetcher.Post({}, binary, "a/b"); }, "POST a/b " + binary},
        {[&] { m_fetcher.Delete({}); }, "DELETE  "},
        {[&] { m_fetcher.Post({}, "", "a/b"); }, "POST a/b "},
        {[&] { m_fetcher.PostMultipartFormData({}, "{\"a\":1}"); },
         AllOf(StartsWith("POST multipart/form-data; boundary="),
               HasSubstr("\r\nContent-Disposition: form-data; name=\"metadata\"\r\n"
                         "Content-Type: application/json\r\n\r\n{\"a\":1}\r\n--"))},
    };
    for (const auto& [before, sentBefore] : operations) {
        for (const auto& [operation, sent] : operations) {
            Serve({Ok(), Ok()});
            before();
            operation();
            const auto request = m_server->Requests().at(1);
            const auto type = request.Fields("Content-Type");
            const std::string method = request.Line().substr(0, request.Line().find(' '));
            EXPECT_THAT(method + " " + (type.empty() ? "" : type.at(0)) + " " + request.body, sent);
        }
    }
}

TEST_F(SimpleURLFetcherTest, GathersTheAnswer)
{
    const Server::Step there{Server::Answer(302, "", {{"Location", "/there"}})};
    const Server::Step ftp{Server::Answer(302, "", {{"Location", "ftp://127.0.0.1:1/"}})};
    Serve({{Server::Answer(404, "none", {{"Content-Type", "a/b"}, {"X-Case", "Kept"}})}, there, there, Ok("yes"), ftp});
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

TEST_F(SimpleURLFetcherTest, FixesUpTheRequestHeaders)
{
    Serve({Ok()});
    EXPECT_TRUE(m_fetcher.SetSimpleAuthentication("Aladdin", "open sesame"));
    const CapturedLog log(7);
    m_fetcher.Post(
        {{"content-type", "a/b"}, {"Authorization", "Replaced"}, {"X-Injected", "a\r\nX-Smuggled: b"}, {"X-Empty", ""}},
        "body", "text/plain");
    EXPECT_THAT(CapturedLog::LinesOf("SimpleURLFetcher"),
                AllOf(Contains("1 The header X-Injected has a line break, it is not sent"),
                      Not(Contains(HasSubstr("QWxhZGRpbjpvcGVuIHNlc2FtZQ==")))));
    const auto request = m_server->Requests().at(0);
    EXPECT_THAT(request.Fields("Content-Type"), ElementsAre("text/plain"));
    EXPECT_THAT(request.Fields("Authorization"), ElementsAre("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ=="));
    EXPECT_THAT(request.head, AllOf(HasSubstr("\r\nX-Empty:\r\n"), Not(HasSubstr("X-Smuggled"))));
}

TEST_F(SimpleURLFetcherTest, RepeatsWhatFails_AsOftenAsItIsTo)
{
    const std::string half = "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf";
    const Server::Step busy{Server::Answer(503, "busy", {{"X-Busy", "yes"}})}, broken{half, Then::Close};
    const Server::Step closed{"", Then::Close}, reset{"", Then::Reset}, hanging{half, Then::Hang};
    const Server::Step inHeader{"HTTP/1.1 200 OK\r\nContent-Le", Then::Close};
    const struct
    {
        const char* url; ///< if not the server's
        std::vector<Server::Step> failures;
        int retryCount;
        CURLcode result;
        int status;
        std::size_t retries;
    } cases[] = {
        {nullptr, {busy, busy, busy}, 2, CURLE_OK, 503, 2},
        {nullptr, {busy, busy, busy, busy, busy}, -1, CURLE_OK, 200, 5},
        {nullptr, {broken, busy}, 1, CURLE_OK, 503, 1},
        {nullptr, {busy, broken}, 1, CURLE_PARTIAL_FILE, 0, 1},
        {nullptr, {closed, reset}, 1, CURLE_RECV_ERROR, 0, 1},
        {nullptr, {busy, inHeader}, 1, CURLE_PARTIAL_FILE, 0, 1},
        {nullptr, {hanging}, 1, CURLE_OPERATION_TIMEDOUT, 0, 0},
        {"file:///etc/passwd", {}, 1, CURLE_UNSUPPORTED_PROTOCOL, 0, 0},
        {"http://127.0.0.1:1/", {}, 1, CURLE_COULDNT_CONNECT, 0, 1},
    };
    m_fetcher.SetRetryDelay(3);
    for (const auto& each : cases) {
        SCOPED_TRACE(Message() << each.result << " after " << each.retries << ", of " << each.retryCount);
        std::vector<Server::Step> script = each.failures;
        script.push_back(Ok());
        Serve(script);
        EXPECT_TRUE(each.url == nullptr || m_fetcher.SetURL(each.url));
        EXPECT_TRUE(m_fetcher.SetTimeOut(each.result == CURLE_OPERATION_TIMEDOUT ? 0.2F : 1e12F));
        EXPECT_FALSE(m_fetcher.SetTimeOut(-1));
        m_fetcher.SetRetryCount(each.retryCount);
        m_sleeps.clear();
        const CapturedLog log;
        const HSMResponse response = m_fetcher.Put({}, "all of it", "text/plain");
        EXPECT_EQ(CapturedLog::LinesOf("TestAutomation"), std::vector<std::string>(each.retries, "6 HTTP Retry"));
        EXPECT_EQ(response.curlCode, each.result);
        EXPECT_EQ(response.status, each.status);
        EXPECT_EQ(response.success, each.status == 200 ? 1 : 0);
        EXPECT_EQ(response.headers.count("X-Busy"), each.status == 503 ? 1U : 0U);
        EXPECT_EQ(m_sleeps, std::vector<int>(each.retries, 3));
        for (const auto& request : m_server->Requests()) {
            EXPECT_EQ(request.body, "all of it");
        }
    }
    // These cannot be brought about. The last one is no final code.
    for (const CURLcode code :
         {CURLE_FAILED_INIT, CURLE_NOT_BUILT_IN, CURLE_OUT_OF_MEMORY, CURLE_COULDNT_RESOLVE_HOST}) {
        s_exchangeResult = code;
        m_fetcher.SetRetryCount(1);
        m_sleeps.clear();
        EXPECT_EQ(m_fetcher.Get({}).curlCode, code);
        EXPECT_EQ(m_sleeps.size(), code == CURLE_COULDNT_RESOLVE_HOST ? 1U : 0U) << code;
    }
    m_fetcher.SetURL("http://cloud.test/" + std::string(70000, 'x'));
    const CapturedLog log(3);
    m_fetcher.Get({});
    EXPECT_LT(testing::internal::GetCapturedStderr().size(), 10000U) << "a URL of any length";
    s_exchangeResult.reset();
}

TEST_F(SimpleURLFetcherTest, WaitsForItsProxy_UntilToldNotTo)
{
    const std::uint16_t port = Server({}).Port();
    setenv("no_proxy", "device.test", 1); // NOLINT(concurrency-mt-unsafe): which is not to be asked, either
    m_fetcher.SetURL("http://device.test/x");
    m_fetcher.SetProxy("127.0.0.1:" + std::to_string(port));
    EXPECT_EQ(m_fetcher.Get({}).curlCode, CURLE_COULDNT_CONNECT);
    EXPECT_THAT(m_sleeps, ElementsAreArray(std::vector<int>(10, 5)));

    m_fetcher.SetSleeper([&](int) {
        m_server = std::make_unique<Server>(std::vector{Ok()}, port);
        return true;
    });
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
    EXPECT_EQ(m_server->Requests().at(0).Line(), "GET http://device.test/x HTTP/1.1");
}

TEST_F(SimpleURLFetcherTest, HidesItsConnectionFromChildProcesses)
{
    Serve({{"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", Then::Hang}}); // left open by both ends
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
    // The TCP connections, each with the processes that have it open.
    EXPECT_THAT(RunProgram({"ss", "-tnpH"}).output, AllOf(HasSubstr("(\"http_tests\""), Not(HasSubstr("(\"ss\""))));
}

TEST(SimpleURLFetcher, WithoutMemory_FailsAtOnce)
{
    const auto allocate = [](std::size_t n, std::size_t size) {
        return s_isMemoryShort ? nullptr : std::calloc(n, size);
    };
    curl_global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, std::free, std::realloc, strdup, allocate);
    CapturedLog log(0);
    s_isMemoryShort = true;
    Http::SimpleURLFetcher fetcher;
    EXPECT_FALSE(fetcher.IsUsable() || fetcher.SetURL("http://127.0.0.1/"));
    EXPECT_EQ(fetcher.Put({}, "", "").curlCode, CURLE_FAILED_INIT);
    EXPECT_THAT(log.LinesOf("SimpleURLFetcher"),
                ElementsAre("0 Could not create curlHandle!", "0 SetURL, m_curlHandle is NULL, returning an error",
                            "0 PUT, m_curlHandle is NULL, returning an error"));

    Http::HttpSettings settings;
    settings.retry = Http::RetrySettings::WithBackoff();
    settings.retry.m_RetryBackoffSeconds = {1};
    const CapturedLog retries;
    Http::RunTask task({}, settings);
    task.Run();
    EXPECT_EQ(task.TakeResponse().curlCode, CURLE_FAILED_INIT);
    EXPECT_THAT(CapturedLog::LinesOf("RunTask"), ElementsAre("6 Run: GET ")) << "no retry helps";
}

TEST_F(SimpleURLFetcherTest, TrustsOnlyCertificatesThatSomebodyVouchesFor_ForTheHost)
{
    ASSERT_EQ(RunProgram({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                          "-subj", "/CN=localhost", "-keyout", "/tmp/key.pem", "-out", "/tmp/cert.pem"})
                  .status,
              0);
    const ChildProcess server(
        {"openssl", "s_server", "-www", "-accept", "4433", "-key", "/tmp/key.pem", "-cert", "/tmp/cert.pem"});
    ASSERT_TRUE(server.WaitForOutput("ACCEPT"));
    m_fetcher.SetURL("https://localhost:4433/");
    EXPECT_EQ(m_fetcher.Get({}).curlCode, CURLE_PEER_FAILED_VERIFICATION);
    m_fetcher.SetValidateServerCertificate(false);
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
    m_fetcher.SetURL("https://127.0.0.1:4433/");
    EXPECT_EQ(m_fetcher.Get({}).curlCode, CURLE_PEER_FAILED_VERIFICATION) << "the certificate is another host's";
    m_fetcher.SetValidateHostCertificate(false);
    EXPECT_EQ(m_fetcher.Get({}).status, 200);
}
