#include "CloudClient.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace
{

constexpr long kTimeoutMs = 20000;

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text)
{
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

} // namespace

Reply SendRequest(const ClientRequest& request)
{
    Reply reply;
    CURL* curl = curl_easy_init();
    curl_slist* headers = nullptr;
    for (const std::string& header : request.headers) {
        headers = curl_slist_append(headers, header.c_str());
    }
    curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
    curl_easy_setopt(curl, CURLOPT_PROXY, request.proxy.c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, kTimeoutMs);
    curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
    if (request.method != "GET") {
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
    }
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &reply.body);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, Append);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &reply.headers);
    reply.curlCode = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    curl_slist_free_all(headers);
    curl_easy_cleanup(curl);
    return reply;
}

RawClient::RawClient(std::uint16_t port) : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{10, 0};
    setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    EXPECT_EQ(0, connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
}

RawClient::~RawClient()
{
    close(m_socket);
}

void RawClient::Send(const std::string& bytes) const
{
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL));
}

std::string RawClient::ReadAll()
{
    std::string text;
    std::array<char, 4096> buffer;
    for (;;) {
        const ssize_t got = recv(m_socket, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            EXPECT_FALSE(got < 0 && errno == EAGAIN) << "the connection does not end";
            m_reset = got < 0 && errno == ECONNRESET;
            return text;
        }
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

TestCloud::TestCloud(std::vector<DiagCloud::Outcome> script, DiagCloud::CloudSettings settings)
{
    settings.storeFolder = m_folder.Path();
    settings.script = std::move(script);
    m_server = std::make_unique<DiagCloud::CloudServer>(std::move(settings));
}

std::vector<std::string> TestCloud::Stored() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
        names.push_back(entry.path().filename());
    }
    return names;
}

Reply TestCloud::PostMetadata(const std::string& body)
{
    return SendRequest({"POST",
                        "http://diagnostics.vantor.example/senders/GUID-1/metadata",
                        "localhost:" + std::to_string(m_server->Port()),
                        {"Content-Type: application/json", "x-product-token: secret-token"},
                        body});
}

std::string TestCloud::Announce()
{
    const std::string body = PostMetadata().body;
    const std::string before = R"({"uploadUrl":")";
    EXPECT_EQ(0U, body.find(before)) << body;
    return body.size() > before.size() ? body.substr(before.size(), body.size() - before.size() - 2) : body;
}

Reply TestCloud::PostArchive(const std::string& url, const std::string& archive, const std::string& md5)
{
    std::vector<std::string> headers = {"Content-Type: application/octet-stream"};
    if (!md5.empty()) {
        headers.push_back("Content-MD5: " + md5);
    }
    return SendRequest({"POST", url, "", headers, archive});
}

std::string TestCloud::GoodMetadata()
{
    return R"({"productName":"","productId":"GUID-1","productType":"t","softwareVersion":"1.0","fileType":"f",)"
           R"("uploadTimeStamp":"2026-11-15T03:04:05Z","uploadedItems":[{"type":"TOP","subType":"top"}],"version":1.0})";
}
