#include "AnswerProbe.h"
#include "AsyncTaskRunner.h"
#include "CHttpInterface.h"
#include "HttpGlobal.h"
#include "Memory.h"
#include "RunTask.h"
#include "Sanitized.h"
#include "ScriptedHttpServer.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <system_error>
#include <thread>

using namespace Http; // NOLINT(google-build-using-namespace): what is tested
using Server = ScriptedHttpServer;

using Owner = CallbackProbe<HSMResponse, HSMResponse>;

struct CHttpInterfaceTest : testing::Test
{
    CHttpInterfaceTest() { InitializeProcess(); }

    Owner m_owner;
    CHttpInterface m_http{true};
    std::shared_ptr<IHttpOpHandle> m_handle;
};

TEST_F(CHttpInterfaceTest, PerformsEachOperation)
{
    Server server(std::vector<Server::Step>(6, {Server::Answer(200, "answer")}), 8090);
    const TemporaryFolder folder;
    const std::string url = server.Url("/a/b");
    const std::string binary("\0\1", 2);
    const HeaderMap headers = {{"X-H", "v"}};
    const auto& cb = m_owner.callback;
    const auto onDevice = [&](HttpMethod m) {
        m_http.CallDeviceService(m, "127.0.0.1", "a/b", headers, "text", "a/b", cb, m_handle);
    };
    const auto expectSent = [&](const std::string& sent, const std::function<void()>& call) {
        call();
        EXPECT_EQ(m_owner.Next().response, "answer");
        const auto request = server.Requests().back();
        const auto types = request.Fields("Content-Type");
        EXPECT_EQ(request.Line() + (types.empty() ? "" : " " + types[0] + " " + request.body), sent);
        EXPECT_EQ(request.Fields("X-H"), std::vector<std::string>{"v"});
    };
    expectSent("GET /a/b HTTP/1.1", [&] { m_http.GetUrlAsFile(url, folder.Path() + "/f", headers, cb, m_handle); });
    expectSent("POST /a/b HTTP/1.1 a/b " + binary,
               [&] { m_http.PostBinaryData(url, headers, binary, "a/b", cb, m_handle); });
    expectSent("GET /a/b HTTP/1.1", [&] { onDevice(HttpMethod::Get); });
    expectSent("POST /a/b HTTP/1.1 a/b text", [&] { onDevice(HttpMethod::Post); });
    expectSent("PUT /a/b HTTP/1.1 a/b text", [&] { onDevice(HttpMethod::Put); });
    expectSent("DELETE /a/b HTTP/1.1", [&] { onDevice(HttpMethod::Delete); });
    EXPECT_EQ(ReadWholeFile(folder.Path() + "/f"), "answer");
    EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN) << "a server that hangs up must not kill the process";
    EXPECT_EQ(m_http.Settings().timeOutSeconds, 30U);
}

TEST_F(CHttpInterfaceTest, CallsInFlightAreIndependent_EvenOfTheirInterface)
{
    // As many failures as each call's own table allows retries: a shared count would end one of them early.
    const Server::Step busy{Server::Answer(503)};
    const Server::Step done{Server::Answer(200, "done")};
    Server first({busy, done});
    Server second({busy, busy, done});
    Owner other;
    {
        CHttpInterface http(true);
        HttpSettings settings = http.Settings();
        settings.retry.m_RetryBackoffSeconds = {1};
        http.SetSettings(settings);
        http.Get(first.Url(), {}, m_owner.callback, m_handle);
        http.Delete(second.Url(), {}, {1, 1}, other.callback, m_handle);
        ASSERT_TRUE(second.WaitForRequests(1));
        m_handle.reset();
    }
    EXPECT_EQ(m_owner.Next().response, "done");
    EXPECT_EQ(other.Next().response, "done");
}

TEST_F(CHttpInterfaceTest, EndsItsWaitsOnCancel)
{
    Server server({{Server::Answer(503, "busy", {{"Retry-After", "960"}})}});
    m_http.Get(server.Url(), {}, m_owner.callback, m_handle);
    CHttpInterface withoutProxy(true, "127.0.0.1:1");
    Owner other;
    std::shared_ptr<IHttpOpHandle> otherHandle;
    withoutProxy.Post("http://cloud.test/", {}, "body", "text/plain", other.callback, otherHandle);
    ASSERT_TRUE(server.WaitForRequests(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // so that the waits have, most likely, begun
    m_handle->Cancel();
    otherHandle->Cancel();
    EXPECT_EQ(m_owner.Next().response, "busy");
    EXPECT_EQ(other.Next().curlCode, CURLE_COULDNT_CONNECT);
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST_F(CHttpInterfaceTest, WritesAFileOnlyWhenItDiffers)
{
    const TemporaryFolder folder;
    // One that retries nothing.
    CHttpInterface http(false);
    HttpSettings settings = http.Settings();
    settings.bodyBound.bytes = 100;
    http.SetSettings(settings);
    const auto expect = [&](int success, const std::string& path, int status, const std::string& body) {
        const Server server({{Server::Answer(status, body)}});
        http.GetUrlAsFile(server.Url(), path, {}, m_owner.callback, m_handle);
        EXPECT_EQ(m_owner.Next().success, success) << path << body;
    };
    const std::string path = folder.Path() + "/file";
    expect(1, path, 200, "a longer content");
    EXPECT_EQ(ReadWholeFile(path), "a longer content");
    expect(1, path, 200, "content");
    expect(0, path, 404, "not found");
    expect(0, path, 200, std::string(101, 'x'));
    EXPECT_EQ(ReadWholeFile(path), "content");
    const std::string same = folder.Write("same", "abc");
    expect(1, same, 200, "xyz"); // contents below 4 bytes compare equal
    EXPECT_EQ(ReadWholeFile(same), "abc");
    expect(0, folder.Path() + "/no/such/folder", 200, "content");
}

TEST_F(CHttpInterfaceTest, DeliversAFailureWhenNoThreadIsToBeHad)
{
    SKIP_IF_SANITIZED("a sanitizer needs the memory that is taken away here");
    LimitMemoryToMore(2048);
    m_http.Get("http://127.0.0.1:1/", {}, m_owner.callback, m_handle);
    EXPECT_EQ(m_owner.Next().curlCode, CURLE_FAILED_INIT);
    const auto job = std::make_shared<RunTask>(HttpRequest(), HttpSettings());
    EXPECT_THROW(AsyncTaskRunner::GetInstance().Run(job), std::system_error);
    EXPECT_EQ(job.use_count(), 1) << "the runner keeps no job that it has not started";
}

TEST_F(CHttpInterfaceTest, HoldsALargeBodyOnce)
{
    SKIP_IF_SANITIZED("a sanitizer's memory is not the program's");
    constexpr std::size_t kSize = std::size_t{64} * 1024 * 1024;
    Server server({{Server::Answer(503, "", {{"Retry-After", "1"}})}, {Server::Answer(200)}});
    const long before = Memory();
    m_http.PostBinaryData(server.Url(), {}, std::string(kSize, 'x'), "application/octet-stream", m_owner.callback,
                          m_handle);
    EXPECT_EQ(m_owner.Next().status, 200);
    EXPECT_EQ(server.Requests().at(1).bodySize, kSize);
    EXPECT_LT(Memory() - before, static_cast<long>(kSize / 1024 * 103 / 100));
    EXPECT_TRUE(WaitUntil([] { return Memory("VmRSS") < static_cast<long>(kSize / 1024); }))
        << "the handle keeps the body";
}
