#include "CHttpInterface.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <regex>
#include <system_error>
#include <thread>

#include "APTask.h"
#include "AsyncTaskRunner.h"
#include "Deadline.h"
#include "HttpGlobal.h"
#include "RunTask.h"
#include "Sanitized.h"
#include "ScriptedHttpServer.h"
#include "TemporaryFolder.h"

using namespace Http; // NOLINT(google-build-using-namespace): what is tested
using Server = ScriptedHttpServer;

namespace
{
/** The task that calls and is answered. */
class Owner : public APTask
{
public:
    Owner() : APTask("Owner", 0, CTask::NOT_REALTIME, -1) { Start(); }
    ~Owner() override { Stop(); }

    AsyncCallback<HSMResponse> Callback() { return {this, this, &Owner::OnResponse}; }

    HSMResponse WaitForResponse()
    {
        auto response = m_response.get_future();
        EXPECT_EQ(response.wait_for(kDeadline), std::future_status::ready);
        HSMResponse arrived = response.get();
        m_response = {};
        return arrived;
    }

    std::atomic<int> responses{0};

private:
    void OnResponse(const HSMResponse& response)
    {
        ++responses;
        m_response.set_value(response);
    }

    std::promise<HSMResponse> m_response;
};

class HttpInterface : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(InitializeProcess()); }

    Owner m_owner;
    CHttpInterface m_http{true};
    std::shared_ptr<IHttpOpHandle> m_handle;
};

/** In kB, of a field of /proc/self/status. */
long MemoryStatus(const std::string& field)
{
    const std::string status = ReadWholeFile("/proc/self/status");
    std::smatch value;
    return std::regex_search(status, value, std::regex(field + ":\\s+(\\d+)")) ? std::stol(value[1]) : 0;
}
} // namespace

TEST_F(HttpInterface, PerformsEachOperation)
{
    Server server(std::vector<Server::Step>(10, {Server::Answer(200, "answer")}), 8090);
    const TemporaryFolder folder;
    const std::string url = server.Url("/a/b");
    const std::string binary("\0\1", 2);
    const HeaderMap headers = {{"X-H", "v"}};
    const auto cb = m_owner.Callback();
    const auto onDevice = [&](HttpMethod m) {
        m_http.CallDeviceService(m, "127.0.0.1", "a/b", headers, "text", "a/b", cb, m_handle);
    };
    const std::tuple<std::function<void()>, std::string, std::string> operations[] = {
        {[&] { m_http.Get(url, headers, cb, m_handle); }, "GET", ""},
        {[&] { m_http.GetUrlAsFile(url, folder.Path() + "/f", headers, cb, m_handle); }, "GET", ""},
        {[&] { m_http.Delete(url, headers, cb, m_handle); }, "DELETE", ""},
        {[&] { m_http.Post(url, headers, "text", "a/b", cb, m_handle); }, "POST", "text"},
        {[&] { m_http.PostBinaryData(url, headers, binary, "a/b", cb, m_handle); }, "POST", binary},
        {[&] { m_http.Put(url, headers, "text", "a/b", cb, m_handle); }, "PUT", "text"},
        {[&] { onDevice(HttpMethod::Get); }, "GET", ""},
        {[&] { onDevice(HttpMethod::Post); }, "POST", "text"},
        {[&] { onDevice(HttpMethod::Put); }, "PUT", "text"},
        {[&] { onDevice(HttpMethod::Delete); }, "DELETE", ""},
    };
    for (const auto& [call, expectedMethod, expectedBody] : operations) {
        call();
        EXPECT_EQ(m_owner.WaitForResponse().response, "answer");
        const auto request = server.Requests().back();
        EXPECT_EQ(request.Line(), expectedMethod + " /a/b HTTP/1.1");
        EXPECT_EQ(request.body, expectedBody);
        EXPECT_EQ(request.Fields("X-H"), std::vector<std::string>{"v"});
        EXPECT_EQ(request.Fields("Content-Type"), std::vector<std::string>(expectedBody.empty() ? 0 : 1, "a/b"));
    }
    EXPECT_EQ(ReadWholeFile(folder.Path() + "/f"), "answer");
    EXPECT_EQ(std::signal(SIGPIPE, SIG_IGN), SIG_IGN) << "a server that hangs up must not kill the process";
    EXPECT_EQ(m_owner.responses, static_cast<int>(std::size(operations)));
    EXPECT_EQ(m_http.Settings().timeOutSeconds, 30U);
}

TEST_F(HttpInterface, CallsInFlightAreIndependent_EvenOfTheirInterface)
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
        http.Get(first.Url(), {}, m_owner.Callback(), m_handle);
        http.Delete(second.Url(), {}, {1, 1}, other.Callback(), m_handle);
        ASSERT_TRUE(second.WaitForRequests(1));
        m_handle.reset();
    }
    EXPECT_EQ(m_owner.WaitForResponse().response, "done");
    EXPECT_EQ(other.WaitForResponse().response, "done");
}

TEST_F(HttpInterface, EndsItsWaitsOnCancel)
{
    Server server({{Server::Answer(503, "busy", {{"Retry-After", "960"}})}});
    m_http.Get(server.Url(), {}, m_owner.Callback(), m_handle);
    CHttpInterface withoutProxy(true, "127.0.0.1:1");
    Owner other;
    std::shared_ptr<IHttpOpHandle> otherHandle;
    withoutProxy.Post("http://cloud.test/", {}, "body", "text/plain", other.Callback(), otherHandle);
    ASSERT_TRUE(server.WaitForRequests(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // so that the waits have, most likely, begun
    m_handle->Cancel();
    otherHandle->Cancel();
    EXPECT_EQ(m_owner.WaitForResponse().response, "busy");
    EXPECT_EQ(other.WaitForResponse().curlCode, CURLE_COULDNT_CONNECT);
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST_F(HttpInterface, WritesAFileOnlyWhenItDiffers)
{
    const TemporaryFolder folder;
    // The file's name and content before, empty for no file; status and body of the answer; the content after, success.
    const std::tuple<std::string, std::string, int, std::string, std::string, int> cases[] = {
        {"new", "", 200, "content", "content", 1},
        {"other", "a longer content", 200, "content", "content", 1},
        {"longer", "content", 200, "contents", "contents", 1},
        {"same", "abc", 200, "xyz", "abc", 1}, // contents below 4 bytes compare equal
        {"failed", "content", 404, "not found", "content", 0},
        {"no/such/folder", "", 200, "content", "", 0},
        {"beyond the bound", "content", 200, std::string(101, 'x'), "content", 0},
    };
    HttpSettings settings = m_http.Settings();
    settings.bodyBound.bytes = 100;
    settings.retry = {};
    m_http.SetSettings(settings);
    for (const auto& [name, before, status, body, after, isSuccess] : cases) {
        SCOPED_TRACE(name);
        const std::string path = before.empty() ? folder.Path() + "/" + name : folder.Write(name, before);
        Server server({{Server::Answer(status, body)}});
        m_http.GetUrlAsFile(server.Url(), path, {}, m_owner.Callback(), m_handle);
        EXPECT_EQ(m_owner.WaitForResponse().success, isSuccess);
        std::ifstream file(path);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), after);
    }
}

TEST_F(HttpInterface, DeliversAFailureWhenNoThreadIsToBeHad)
{
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer needs the memory that is taken away here";
    }
    const rlimit tight{static_cast<rlim_t>(MemoryStatus("VmSize") + 2048) * 1024, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    m_http.Get("http://127.0.0.1:1/", {}, m_owner.Callback(), m_handle);
    EXPECT_EQ(m_owner.WaitForResponse().curlCode, CURLE_FAILED_INIT);
    const auto job = std::make_shared<RunTask>(HttpRequest(), HttpSettings());
    EXPECT_THROW(AsyncTaskRunner::GetInstance().Run(job), std::system_error);
    EXPECT_EQ(job.use_count(), 1) << "the runner keeps no job that it has not started";
}

TEST_F(HttpInterface, HoldsALargeBodyOnce)
{
    if (kIsSanitized) {
        GTEST_SKIP() << "a sanitizer's memory is not the program's";
    }
    constexpr std::size_t kSize = std::size_t{64} * 1024 * 1024;
    Server server({{Server::Answer(503, "", {{"Retry-After", "1"}})}, {Server::Answer(200)}});
    const long before = MemoryStatus("VmHWM");
    m_http.PostBinaryData(server.Url(), {}, std::string(kSize, 'x'), "application/octet-stream", m_owner.Callback(),
                          m_handle);
    EXPECT_EQ(m_owner.WaitForResponse().status, 200);
    EXPECT_EQ(server.Requests().at(1).bodySize, kSize);
    EXPECT_LT(MemoryStatus("VmHWM") - before, static_cast<long>(kSize / 1024 * 103 / 100));
    EXPECT_TRUE(WaitUntil([] { return MemoryStatus("VmRSS") < static_cast<long>(kSize / 1024); }))
        << "the handle keeps the body";
}
