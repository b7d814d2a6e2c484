#pragma once

#include "CloudServer.h"
#include "Deadline.h"
#include "FileDescriptor.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

/** A client that sends its bytes, whether or not they make a request. */
class Client
{
public:
    Client(const DiagCloud::CloudServer& cloud, const std::string& bytes)
    {
        const sockaddr_in address{AF_INET, htons(cloud.Port()), {htonl(INADDR_LOOPBACK)}, {}};
        const timeval limit{kDeadline.count(), 0};
        setsockopt(m_socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(connect(m_socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_TRUE(m_socket.WriteAll(bytes));
    }

    /** What is sent up to the end of the connection; " RESET" follows when it ended so. */
    std::string ReadAll() const
    {
        std::string text;
        const bool isOrderly = m_socket.ReadAll(text);
        EXPECT_TRUE(isOrderly || errno == ECONNRESET) << "the connection does not end";
        return isOrderly ? text : text + " RESET";
    }

private:
    const FileDescriptor m_socket{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
};

/** Matches a whole answer of that status that has the text. */
inline testing::Matcher<std::string> Answer(int status, const std::string& text = "")
{
    return AllOf(testing::StartsWith("HTTP/1.1 " + std::to_string(status) + ' '), testing::HasSubstr(text),
                 Not(testing::EndsWith(" RESET")));
}

/** A cloud with a store of its own. */
class TestCloud : private TemporaryFolder, public DiagCloud::CloudServer
{
public:
    explicit TestCloud(const std::string& script = "[]", DiagCloud::CloudSettings settings = {})
        : CloudServer([&] {
              settings.storeFolder = Folder();
              settings.script = DiagCloud::ParseScript(script);
              return std::move(settings);
          }())
    {}

    const std::string& Folder() const { return TemporaryFolder::Path(); }

    /** The number of files in the store. */
    std::size_t Stored() const { return NamesIn(Folder()).size(); }

    /** The answer to a request. @param headers each with the end of its line */
    std::string Ask(const std::string& requestLine, const std::string& headers = "", const std::string& body = "") const
    {
        const std::string length = "Content-Length: " + std::to_string(body.size());
        const std::string head = requestLine + " HTTP/1.1\r\nConnection: close\r\n" + headers + length + "\r\n\r\n";
        return Client(*this, head + body).ReadAll();
    }

    /** Posts metadata as a device does, through the proxy. */
    std::string PostMetadata() const
    {
        return Ask("POST http://diagnostics.vantor.example/senders/GUID-1/metadata",
                   "x-product-token: secret-token\r\n", kMetadata);
    }

    /** Posts metadata and returns the path of the archive. */
    std::string Announce() const
    {
        const std::string answer = PostMetadata();
        EXPECT_NE(answer.find("\r\n\r\n{\"uploadUrl\":\"" + Url() + "/archives/"), std::string::npos) << answer;
        return "/archives/" + Requests().back().archiveId;
    }

    std::string PostArchive(const std::string& path) const { return Ask("POST " + path, kMd5, kContent); }

    /** The request of that number as it was recorded. @throws std::bad_optional_access when it does not come in time */
    DiagCloud::ReceivedRequest Request(std::size_t number) const { return WaitForRequest(number, kDeadline).value(); }

    inline static const std::string kMetadata =
        R"({"productName":"","productId":"GUID-1","productType":"t","softwareVersion":"1.0","fileType":"f",)"
        R"("uploadTimeStamp":"2026-11-15T03:04:05Z","uploadedItems":[{"type":"TOP","subType":"top"}],"version":1.0})";
    inline static const std::string kContent = "The quick brown fox jumps over the lazy dog";
    /** The header of the content. */
    inline static const std::string kMd5 = "Content-MD5: 9e107d9d372bb6826bd81d3542a419d6\r\n";
};
