#include "TestCloud.h"

#include "Script.h"

#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>

const std::string TestCloud::kMetadata =
    R"({"productName":"","productId":"GUID-1","productType":"t","softwareVersion":"1.0","fileType":"f",)"
    R"("uploadTimeStamp":"2026-11-15T03:04:05Z","uploadedItems":[{"type":"TOP","subType":"top"}],"version":1.0})";
const std::string TestCloud::kContent = "The quick brown fox jumps over the lazy dog";
const std::string TestCloud::kMd5 = "Content-MD5: 9e107d9d372bb6826bd81d3542a419d6\r\n";

Client::Client(const DiagCloud::CloudServer& cloud, const std::string& bytes)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    const sockaddr_in address{AF_INET, htons(cloud.Port()), {htonl(INADDR_LOOPBACK)}, {}};
    const timeval limit{kDeadline.count(), 0};
    setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    EXPECT_EQ(connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_TRUE(m_socket.WriteAll(bytes));
}

std::string Client::ReadAll() const
{
    std::string text;
    const bool isOrderly = m_socket.ReadAll(text);
    EXPECT_TRUE(isOrderly || errno == ECONNRESET) << "the connection does not end";
    return isOrderly ? text : text + " RESET";
}

testing::Matcher<std::string> Answer(int status, const std::string& text)
{
    return AllOf(testing::StartsWith("HTTP/1.1 " + std::to_string(status) + ' '), testing::HasSubstr(text),
                 Not(testing::EndsWith(" RESET")));
}

TestCloud::TestCloud(const std::string& script, DiagCloud::CloudSettings settings)
    : CloudServer([&] {
          settings.storeFolder = Folder();
          settings.script = DiagCloud::ParseScript(script);
          return std::move(settings);
      }())
{}

std::string TestCloud::Ask(const std::string& requestLine, const std::string& headers, const std::string& body) const
{
    return Client(*this, requestLine + " HTTP/1.1\r\nConnection: close\r\n" + headers +
                             "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body)
        .ReadAll();
}

std::string TestCloud::PostMetadata(const std::string& body) const
{
    return Ask("POST http://diagnostics.vantor.example/senders/GUID-1/metadata", "x-product-token: secret-token\r\n",
               body);
}

std::string TestCloud::Announce() const
{
    EXPECT_THAT(PostMetadata(), Answer(200, "\r\n\r\n{\"uploadUrl\":\"" + Url() + "/archives/"));
    return "/archives/" + Requests().back().archiveId;
}
