#include "CHttpInterface.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <future>
#include <thread>

#include "APTask.h"
#include "CapturedLog.h"
#include "Deadline.h"
#include "HttpGlobal.h"
#include "Sanitized.h"
#include "ScriptedHttpServer.h"
#include "TemporaryFolder.h"

using Http::CHttpInterface;
using Http::HSMResponse;
using Http::HttpMethod;
using Http::HttpSettings;
using Http::IHttpOpHandle;
using testing::ElementsAre;
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

private:
    /** A second response to one call would find the promise kept, and show as an exception on the log. */
    void OnResponse(const HSMResponse& response) { m_response.set_value(response); }

    std::promise<HSMResponse> m_response;
};

class HttpInterface : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(Http::InitializeProcess()); }

    Owner m_owner;
    CHttpInterface m_http{true};
    std::shared_ptr<IHttpOpHandle> m_handle;
};

/** In kB, of a field of /proc/self/status. */
long MemoryStatus(const std::string& field)
{
    std::ifstream status("/proc/self/status");
    for (std::string name; status >> name;) {
        long value = 0;
        if (name == field + ":" && status >> value) {
            return value;
        }
    }
    return 0;
}
} // namespace

TEST_F(HttpInterface, PerformsEachOperation)
{
    Server server(std::vector<Server::Step>(11, {Server::Answer(200, "answer")}), 8090);
    const TemporaryFolder folder;
    const std::string url = server.Url("/a/b");
    const auto callback = m_owner.Callback();
    const auto onDevice = [&](HttpMethod method) {
        m_http.CallDeviceService(method, "127.0.0.1", "a/b", {{"X-H", "v"}}, "text", "a/b", callback, m_handle);
    };
    const struct
    {
        std::function<void()> call;
        std::string expectedMethod;
        std::string expectedBody;
        std::string expectedLog;
    } operations[] = {
        {[&] {
             m_http.Get(url, {{"X-H", "v"}}, callback, m_handle);
         },
         "GET", "", "Get(url:%)"},
        {[&] {
             m_http.GetUrlAsFile(url, folder.Path() + "/f", {{"X-H", "v"}}, callback, m_handle);
         },
         "GET", "", "GetUrlAsFile(url:%)"},
        {[&] {
             m_http.Delete(url, {{"X-H", "v"}}, callback, m_handle);
         },
         "DELETE", "", "Delete(url:%)"},
        {[&] {
             m_http.Delete(url, {{"X-H", "v"}}, {1}, callback, m_handle);
         },
         "DELETE", "", "Delete(url:%) with retryBackoffSeconds"},
        {[&] {
             m_http.Post(url, {{"X-H", "v"}}, "text", "a/b", callback, m_handle);
         },
         "POST", "text", "Post(url:%)"},
        {[&] {
             m_http.PostBinaryData(url, {{"X-H", "v"}}, std::string("\0\1", 2), "a/b", callback, m_handle);
         },
         "POST", std::string("\0\1", 2), "PostBinaryData(url:%)"},
        {[&] {
             m_http.Put(url, {{"X-H", "v"}}, "text", "a/b", callback, m_handle);
         },
         "PUT", "text", "Put(url:%)"},
        {[&] { onDevice(HttpMethod::Get); }, "GET", "", "Get(url:%)"},
        {[&] { onDevice(HttpMethod::Post); }, "POST", "text", "Post(url:%)"},
        {[&] { onDevice(HttpMethod::Put); }, "PUT", "text", "Put(url:%)"},
        {[&] { onDevice(HttpMethod::Delete); }, "DELETE", "", "Delete(url:%)"},
    };
    for (const auto& operation : operations) {
        CapturedLog log(7);
        operation.call();
        const HSMResponse response = m_owner.WaitForResponse();
        auto lines = log.LinesOf("CHttpInterface");
        std::string expected = "7 CHttpInterface::" + operation.expectedLog;
        EXPECT_THAT(lines, ElementsAre(expected.replace(expected.find('%'), 1, url)));
        EXPECT_EQ(response.response, "answer");
        const auto request = server.Requests().back();
        EXPECT_EQ(request.Line(), operation.expectedMethod + " /a/b HTTP/1.1");
        EXPECT_EQ(request.body, operation.expectedBody);
        EXPECT_THAT(request.Fields("X-H"), ElementsAre("v"));
        EXPECT_EQ(request.Fields("Content-Type"),
                  std::vector<std::string>(request.Fields("Content-Length").size(), "a/b"));
    }
    EXPECT_EQ(ReadWholeFile(folder.Path() + "/f"), "answer");
}

TEST_F(HttpInterface, CallsInFlightAreIndependent_EvenOfTheirInterface)
{
    // Each has one retry in its table: a shared count would end one of them early.
    const std::vector<Server::Step> script = {{Server::Answer(503)}, {Server::Answer(200, "done")}};
    Server first(script);
    Server second(script);
    Owner other;
    {
        CHttpInterface http(true);
        HttpSettings settings = http.Settings();
        settings.retry.m_RetryBackoffSeconds = {1};
        http.SetSettings(settings);
        http.Get(first.Url(), {}, m_owner.Callback(), m_handle);
        http.Get(second.Url(), {}, other.Callback(), m_handle);
        ASSERT_TRUE(second.WaitForRequests(1));
        m_handle.reset();
    }
    EXPECT_EQ(m_owner.WaitForResponse().response, "done");
    EXPECT_EQ(other.WaitForResponse().response, "done");
}

TEST_F(HttpInterface, DeliversTheLastResponseOnCancel)
{
    Server server({{Server::Answer(503, "busy", {{"Retry-After", "960"}})}});
    m_http.Get(server.Url(), {}, m_owner.Callback(), m_handle);
    ASSERT_TRUE(server.WaitForRequests(1));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // so that the wait has, most likely, begun
    m_handle->Cancel();
    const HSMResponse response = m_owner.WaitForResponse();
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.response, "busy");
    EXPECT_EQ(server.Requests().size(), 1U);
}

TEST_F(HttpInterface, StopsWaitingForItsProxyOnCancel)
{
    CHttpInterface http(true, "127.0.0.1:1");
    http.Post("http://cloud.test/", {}, "body", "text/plain", m_owner.Callback(), m_handle);
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // so that the wait has, most likely, begun
    const auto start = std::chrono::steady_clock::now();
    m_handle->Cancel();
    const HSMResponse response = m_owner.WaitForResponse();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    EXPECT_EQ(response.status, 0);
    EXPECT_EQ(response.curlCode, CURLE_COULDNT_CONNECT);
}

TEST_F(HttpInterface, WritesAFileOnlyWhenItDiffers)
{
    const TemporaryFolder folder;
    const struct
    {
        const char* path;
        std::string before; ///< empty for no file
        std::string body;
        std::int32_t status;
        bool isWritten;
        bool isSuccess;
    } cases[] = {
        {"new", "", "content", 200, true, true},
        {"same", "content", "content", 200, false, true},
        {"other", "a longer content", "content", 200, true, true},
        {"short", "abc", "xyz", 200, false, true}, // contents below 4 bytes compare equal
        {"short2", "abc", "wxyz", 200, true, true},
        {"failed", "content", "not found", 404, false, false},
        {"no/such/folder", "", "content", 200, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path);
        const std::string path = folder.Path() + "/" + c.path;
        if (!c.before.empty()) {
            folder.Write(c.path, c.before);
            const timespec longAgo[2] = {{1000, 0}, {1000, 0}};
            utimensat(AT_FDCWD, path.c_str(), longAgo, 0);
        }
        Server server({{Server::Answer(c.status, c.body)}});
        m_http.GetUrlAsFile(server.Url(), path, {}, m_owner.Callback(), m_handle);
        EXPECT_EQ(m_owner.WaitForResponse().success, c.isSuccess ? 1 : 0);
        struct stat status = {};
        const bool exists = stat(path.c_str(), &status) == 0;
        EXPECT_EQ(exists && status.st_mtime != 1000, c.isWritten);
        if (c.isWritten) {
            EXPECT_EQ(ReadWholeFile(path), c.body);
        }
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
    const HSMResponse response = m_owner.WaitForResponse();
    EXPECT_EQ(response.success, 0);
    EXPECT_EQ(response.curlCode, CURLE_FAILED_INIT);
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
    const long after = MemoryStatus("VmHWM");
    for (const auto& request : server.Requests()) {
        EXPECT_EQ(request.bodySize, kSize);
    }
    RecordProperty("peak_kB", static_cast<int>(after - before));
    EXPECT_LT(after - before, static_cast<long>(kSize / 1024 * 103 / 100));
    EXPECT_TRUE(WaitUntil([] { return MemoryStatus("VmRSS") < static_cast<long>(kSize / 1024); }))
        << "the handle keeps the body";
}

TEST_F(HttpInterface, ServerThatHangsUpDoesNotKillTheProcess)
{
    struct sigaction present = {};
    sigaction(SIGPIPE, nullptr, &present);
    EXPECT_EQ(present.sa_handler, SIG_IGN);
}
