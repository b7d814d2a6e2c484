#include "TestCloud.h"

#include "ChildProcess.h"
#include "Deadline.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <filesystem>
#include <netinet/in.h>
#include <regex>
#include <sys/socket.h>

const std::string TestCloud::kMetadata =
    R"({"productName":"","productId":"GUID-1","productType":"t","softwareVersion":"1.0","fileType":"f",)"
    R"("uploadTimeStamp":"2026-11-15T03:04:05Z","uploadedItems":[{"type":"TOP","subType":"top"}],"version":1.0})";

Reply SendRequest(const std::string& method, const std::string& url, const std::vector<std::string>& headers,
                  const std::string& body, const std::string& proxy)
{
    const TemporaryFolder folder;
    std::vector<std::string> command = {"curl", "-qsi", "-g", "-X", method, url, "-m", "20", "-x", proxy};
    if (method != "GET") {
        command.insert(command.end(), {"--data-binary", "@" + folder.Write("body", body)});
    }
    for (const std::string& header : headers) {
        command.insert(command.end(), {"-H", header});
    }
    command.insert(command.end(), {"-w", "%{http_code}"});
    const Finished curl = RunProgram(command);
    const std::size_t end = curl.output.size() - 3;
    return {curl.status == 0 ? std::stoi(curl.output.substr(end)) : 0, curl.output.substr(0, end)};
}

RawClient::RawClient(const DiagCloud::CloudServer& cloud, const std::string& bytes)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(cloud.Port());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval limit{20, 0};
    setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    EXPECT_EQ(connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(m_socket.WriteAll(bytes));
}

std::string RawClient::ReadAll() const
{
    std::string text;
    const bool isOrderly = m_socket.ReadAll(text);
    EXPECT_TRUE(isOrderly || errno == ECONNRESET) << "the connection does not end";
    return isOrderly ? text : text + " RESET";
}

TestCloud::TestCloud(std::vector<DiagCloud::Outcome> script, DiagCloud::CloudSettings settings)
    : CloudServer([&] {
          settings.storeFolder = Folder();
          settings.script = std::move(script);
          return std::move(settings);
      }())
{}

std::ptrdiff_t TestCloud::Stored() const
{
    return std::distance(std::filesystem::directory_iterator(Folder()), std::filesystem::directory_iterator());
}

Reply TestCloud::PostMetadata(const std::string& body) const
{
    return SendRequest("POST", "http://diagnostics.vantor.example/senders/GUID-1/metadata",
                       {"Content-Type: application/json", "x-product-token: secret-token"}, body, Url());
}

std::string TestCloud::Announce() const
{
    const std::string text = PostMetadata().text;
    std::smatch url;
    EXPECT_TRUE(std::regex_search(text, url, std::regex(R"re(\{"uploadUrl":"([^"]*)"\}$)re"))) << text;
    return url[1];
}

DiagCloud::ReceivedRequest TestCloud::Request(std::size_t number) const
{
    const auto request = WaitForRequest(number, kDeadline);
    EXPECT_TRUE(request);
    return request.value_or(DiagCloud::ReceivedRequest());
}

Reply PostArchive(const std::string& url)
{
    return SendRequest("POST", url, {kMd5}, kContent);
}
