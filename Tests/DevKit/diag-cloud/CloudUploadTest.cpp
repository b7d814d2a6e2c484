#include "ChildProcess.h"
#include "StringUtils.h"
#include "TestCloud.h"

#include <gmock/gmock.h>

#include <signal.h>
#include <system_error>

using testing::HasSubstr;

TEST(CloudUpload, MetadataAndArchive_AreStoredAndRecorded)
{
    const std::pair<std::string, std::string> samples[] = {
        {kContent, kMd5},
        {"", "Content-MD5: d41d8cd98f00b204e9800998ecf8427e"},
        {std::string(8388608, '\0'), "Content-MD5: 96995b58d4cbf6aaa9041b4f00c7f6ae"},
    };
    for (const auto& [content, md5] : samples) {
        std::vector<std::string> lines;
        DiagCloud::CloudSettings settings;
        settings.writer = [&lines](const std::string& line) { lines.push_back(line); };
        TestCloud cloud({}, settings);
        const std::string url = cloud.Announce();
        ASSERT_THAT(url, testing::StartsWith(cloud.Url() + "/archives/"));
        // A client that did not get the answer sends the archive again.
        for (int round = 0; round < 2; ++round) {
            const Reply reply = SendRequest("POST", url, {md5}, content);
            EXPECT_EQ(reply.status, 200) << reply.text;
            EXPECT_THAT(reply.text, HasSubstr(R"("size":)" + std::to_string(content.size())));
        }
        const auto metadata = cloud.Request(1);
        const auto archive = cloud.Request(3);
        EXPECT_EQ(metadata.target, "http://diagnostics.vantor.example/senders/GUID-1/metadata");
        EXPECT_EQ(metadata.body, TestCloud::kMetadata);
        EXPECT_EQ(metadata.headers.at("X-Product-Token"), "secret-token");
        EXPECT_EQ(archive.productId, "GUID-1");
        const std::string path = cloud.Folder() + "/" + metadata.archiveId;
        EXPECT_EQ(archive.archivePath, path + ".tar.gz");
        EXPECT_TRUE(ReadWholeFile(path + ".tar.gz") == content);
        EXPECT_EQ(ReadWholeFile(path + "-metadata.json"), TestCloud::kMetadata);
        EXPECT_EQ(cloud.Stored(), 2);

        cloud.Stop();
        ASSERT_EQ(lines.size(), 3U);
        EXPECT_THAT(lines[0], HasSubstr("GUID-1, token present -> 200 announces archive " + archive.archiveId));
        EXPECT_THAT(lines[0], Not(HasSubstr("secret-token")));
        EXPECT_THAT(lines[2], HasSubstr(std::to_string(content.size()) + " bytes, Content-MD5 matches"));
    }
}

TEST(CloudUpload, BadMetadata_IsRefusedWithTheReason)
{
    const TestCloud cloud;
    const std::string& good = TestCloud::kMetadata;
    const std::pair<std::string, std::string> cases[] = {
        {"[]", "not a JSON object"},
        {std::string("{}\0{}", 5), "not a JSON object"},
        {R"({"MetadataPayload":)" + good + "}", R"(no text \"productName\")"},
        {StringUtils::FindReplace(good, R"("fileType":"f",)", ""), R"(no text \"fileType\")"},
        {StringUtils::FindReplace(good, R"("softwareVersion":"1.0")", R"("softwareVersion":1)"),
         R"(no text \"softwareVersion\")"},
        {StringUtils::FindReplace(good, "GUID-1", "GUID-2"), R"(\"productId\" is not the product id of the path)"},
        {StringUtils::FindReplace(good, "05Z", "05+00:00"), R"(\"uploadTimeStamp\" is not a time)"},
        {StringUtils::FindReplace(good, R"("subType":"top")", R"("subtype":"top")"),
         R"(an entry of \"uploadedItems\")"},
    };
    for (const auto& [body, reason] : cases) {
        const Reply reply = cloud.PostMetadata(body);
        EXPECT_EQ(reply.status, 400) << body;
        EXPECT_THAT(reply.text, HasSubstr(reason));
    }
    EXPECT_EQ(cloud.PostMetadata(std::string(2000000, ' ')).status, 413);
    EXPECT_EQ(cloud.Stored(), 0);
}

TEST(CloudUpload, BadArchiveOrPath_IsRefusedAndNothingStored)
{
    const TestCloud cloud;
    const std::string url = cloud.Announce();
    const std::string root = cloud.Url();
    const struct
    {
        std::string method;
        std::string target;
        std::vector<std::string> headers;
        int status;
        std::string reason;
    } cases[] = {
        {"POST", url, {}, 400, "Content-MD5 is missing"},
        {"POST", url, {"Content-MD5: d41d8cd98f00b204e9800998ecf8427e"}, 400, "Content-MD5 does not match the archive"},
        {"POST", url, {"Content-MD5: 9E107D9D372BB6826BD81D3542A419D6"}, 400, "32 lower-case hexadecimal digits"},
        {"POST", url, {"Content-MD5: nhB9nTcrtoJr2B01QqQZ1g=="}, 400, "32 lower-case hexadecimal digits"},
        {"POST", url + "0", {kMd5}, 404, "no metadata announced this archive"},
        {"POST", root + "/archives/..%2f..%2fx", {kMd5}, 404, "no metadata announced this archive"},
        {"POST", root + "/senders/a/b/metadata", {}, 404, "no such path"},
        {"GET", "http://127.0.0.1:" + std::to_string(cloud.Port()) + "/", {}, 404, "no such path"},
        {"GET", "http://[::1]:" + std::to_string(cloud.Port()) + "/", {}, 404, "no such path"},
        {"GET", url, {}, 405, "only POST"},
        {"PUT", url, {kMd5}, 405, "only POST"},
        {"DELETE", root + "/senders/x/metadata?y=z", {}, 405, "only POST"},
    };
    for (const auto& [method, target, headers, status, reason] : cases) {
        SCOPED_TRACE(testing::Message() << method << " " << target << " " << reason);
        const Reply reply = SendRequest(method, target, headers, kContent);
        EXPECT_EQ(reply.status, status);
        EXPECT_THAT(reply.text, HasSubstr(reason));
        EXPECT_EQ(reply.text.find("Allow: POST") != std::string::npos, status == 405);
    }
    EXPECT_EQ(cloud.Stored(), 1);

    DiagCloud::CloudSettings taken;
    taken.port = cloud.Port();
    EXPECT_THROW(TestCloud({}, taken), std::system_error);
}

TEST(CloudProgram, TellsItsPortAndEndsOnASignal)
{
    const std::string begin = "diag-cloud listens on ";
    ChildProcess cloud({Program("diag-cloud"), "--port", "0", "--store", "/tmp/store"});
    ASSERT_TRUE(cloud.WaitForOutput(" and stores in /tmp/store\n"));
    const std::string url = cloud.Output().substr(begin.size(), cloud.Output().find(" and") - begin.size());
    EXPECT_THAT(RunProgram({"curl", "-s", url + "/x"}).output, HasSubstr("there is no such path"));
    ASSERT_TRUE(cloud.WaitForOutput("#1 GET /x, 0 bytes, product unknown"));
    kill(cloud.Pid(), SIGTERM);
    EXPECT_EQ(cloud.WaitForExit(), 0);
}
