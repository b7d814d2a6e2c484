#include "TestCloud.h"

#include "Script.h"

#include <sstream>

const std::string TestCloud::kMetadata =
    R"({"productName":"","productId":"GUID-1","productType":"t","softwareVersion":"1.0","fileType":"f",)"
    R"("uploadTimeStamp":"2026-11-15T03:04:05Z","uploadedItems":[{"type":"TOP","subType":"top"}],"version":1.0})";
const std::string TestCloud::kContent = "The quick brown fox jumps over the lazy dog";
const std::string TestCloud::kMd5 = "Content-MD5: 9e107d9d372bb6826bd81d3542a419d6\r\n";

Client::Client(const DiagCloud::CloudServer& cloud, const std::string& bytes)
    : m_stream("127.0.0.1", std::to_string(cloud.Port()))
{
    m_stream.expires_after(kDeadline);
    EXPECT_TRUE(m_stream << bytes << std::flush);
}

std::string Client::ReadAll()
{
    std::ostringstream text;
    text << m_stream.rdbuf();
    const bool isReset = m_stream.error() == boost::asio::error::connection_reset;
    EXPECT_TRUE(isReset || m_stream.error() == boost::asio::error::eof) << m_stream.error();
    return text.str() + (isReset ? " RESET" : "");
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
