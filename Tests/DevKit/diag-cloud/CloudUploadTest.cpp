#include "CloudClient.h"

#include <gmock/gmock.h>

using DiagCloud::Md5Verdict;
using DiagCloud::RequestKind;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{

constexpr std::chrono::seconds kDeadline{10};

struct Sample
{
    std::string content;
    std::string md5;
};

const Sample kArchive = {"The quick brown fox jumps over the lazy dog", "9e107d9d372bb6826bd81d3542a419d6"};
const Sample kEmpty = {"", "d41d8cd98f00b204e9800998ecf8427e"};
const Sample kLarge = {std::string(8388608, '\0'), "96995b58d4cbf6aaa9041b4f00c7f6ae"};

std::string Replaced(std::string text, const std::string& from, const std::string& to)
{
    return text.replace(text.find(from), from.size(), to);
}

} // namespace

TEST(CloudUpload, MetadataAndArchive_AreStoredAndRecorded)
{
    for (const Sample& sample : {kArchive, kEmpty, kLarge}) {
        std::vector<std::string> lines;
        DiagCloud::CloudSettings settings;
        settings.writer = [&lines](const std::string& line) { lines.push_back(line); };
        TestCloud cloud({}, settings);
        const std::string url = cloud.Announce();
        ASSERT_THAT(url, testing::StartsWith(cloud.Server().Url() + "/archives/"));
        // A client that did not get the answer sends the archive again.
        for (int round = 0; round < 2; ++round) {
            const Reply reply = TestCloud::PostArchive(url, sample.content, sample.md5);
            EXPECT_EQ(200, reply.status) << reply.body;
            EXPECT_THAT(reply.body, HasSubstr(R"("size":)" + std::to_string(sample.content.size())));
        }
        const auto metadata = cloud.Server().WaitForRequest(1, kDeadline);
        const auto archive = cloud.Server().WaitForRequest(3, kDeadline);
        ASSERT_TRUE(metadata && archive);
        EXPECT_EQ("http://diagnostics.vantor.example/senders/GUID-1/metadata", metadata->target);
        EXPECT_EQ(TestCloud::GoodMetadata(), metadata->body);
        EXPECT_EQ("secret-token", DiagCloud::FindHeader(metadata->headers, "X-Product-Token"));
        EXPECT_EQ(RequestKind::kArchive, archive->kind);
        EXPECT_EQ(Md5Verdict::kMatches, archive->md5);
        EXPECT_EQ("GUID-1", archive->productId);
        EXPECT_EQ(metadata->archiveId, archive->archiveId);
        EXPECT_EQ(sample.content, ReadWholeFile(cloud.Folder() + "/" + archive->archiveId + ".tar.gz"));
        EXPECT_EQ(TestCloud::GoodMetadata(),
                  ReadWholeFile(cloud.Folder() + "/" + archive->archiveId + "-metadata.json"));
        EXPECT_EQ(2U, cloud.Stored().size());

        cloud.Server().Stop();
        ASSERT_EQ(3U, lines.size());
        EXPECT_THAT(lines[0],
                    HasSubstr("product GUID-1, token present -> 200 announces archive " + archive->archiveId));
        EXPECT_THAT(lines[0], testing::Not(HasSubstr("secret-token")));
        EXPECT_THAT(lines[2], HasSubstr(std::to_string(sample.content.size()) + " bytes, Content-MD5 matches"));
    }
}

TEST(CloudUpload, BadMetadata_IsRefusedWithTheReason)
{
    TestCloud cloud;
    const std::string good = TestCloud::GoodMetadata();
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "not a JSON object"},
        {"[]", "not a JSON object"},
        {std::string(3000, '['), "not a JSON object"},
        {R"({"MetadataPayload":)" + good + "}", R"(no text \"productName\")"},
        {Replaced(good, R"("fileType":"f",)", ""), R"(no text \"fileType\")"},
        {Replaced(good, R"("softwareVersion":"1.0")", R"("softwareVersion":1)"), R"(no text \"softwareVersion\")"},
        {Replaced(good, "GUID-1", "GUID-2"), R"(\"productId\" is not the product id of the path)"},
        {Replaced(good, "05Z", "05+00:00"), R"(\"uploadTimeStamp\" is not a time)"},
        {Replaced(good, R"("subType":"top")", R"("subtype":"top")"), R"(an entry of \"uploadedItems\")"},
    };
    for (const auto& [body, reason] : cases) {
        const Reply reply = cloud.PostMetadata(body);
        EXPECT_EQ(400, reply.status) << body;
        EXPECT_THAT(reply.body, HasSubstr(reason));
    }
    EXPECT_EQ(413, cloud.PostMetadata(std::string(2000000, ' ')).status);
    EXPECT_TRUE(cloud.Stored().empty());
}

TEST(CloudUpload, BadArchiveOrPath_IsRefusedAndNothingStored)
{
    TestCloud cloud;
    const std::string url = cloud.Announce();
    const std::string md5 = "Content-MD5: " + kArchive.md5;
    struct Case
    {
        std::string method;
        std::string url;
        std::vector<std::string> headers;
        long status;
        std::string reason;
    };
    const std::string root = cloud.Server().Url();
    const std::vector<Case> cases = {
        {"POST", url, {}, 400, "Content-MD5 is missing"},
        {"POST", url, {"Content-MD5: " + kEmpty.md5}, 400, "Content-MD5 does not match the archive"},
        {"POST", url, {"Content-MD5: 9E107D9D372BB6826BD81D3542A419D6"}, 400, "32 lower-case hexadecimal digits"},
        {"POST", url, {"Content-MD5: nhB9nTcrtoJr2B01QqQZ1g=="}, 400, "32 lower-case hexadecimal digits"},
        {"POST", url + "0", {md5}, 404, "no metadata announced this archive"},
        {"POST", root + "/archives/..%2f..%2fx", {md5}, 404, "no metadata announced this archive"},
        {"POST", root + "/archives/", {md5}, 404, "no such path"},
        {"POST", root + "/senders/a/b/metadata", {}, 404, "no such path"},
        {"POST", root + "/senders//metadata", {}, 404, "no such path"},
        {"GET", root + "/", {}, 404, "no such path"},
        {"GET", url, {}, 405, "only POST"},
        {"PUT", url, {md5}, 405, "only POST"},
        {"DELETE", root + "/senders/x/metadata?y=z", {}, 405, "only POST"},
    };
    for (const Case& tested : cases) {
        SCOPED_TRACE(tested.method + " " + tested.url + " " + tested.reason);
        const Reply reply = SendRequest({tested.method, tested.url, "", tested.headers, kArchive.content});
        EXPECT_EQ(tested.status, reply.status);
        EXPECT_THAT(reply.body, HasSubstr(tested.reason));
        EXPECT_EQ(tested.status == 405, reply.headers.find("Allow: POST") != std::string::npos);
    }
    EXPECT_THAT(cloud.Stored(), ElementsAre(EndsWith("-metadata.json")));
}

TEST(CloudUpload, Server_ListensOnBothLoopbackAddresses)
{
    TestCloud cloud;
    for (const std::string host : {"127.0.0.1", "[::1]"}) {
        EXPECT_EQ(404,
                  SendRequest({"GET", "http://" + host + ":" + std::to_string(cloud.Server().Port()) + "/"}).status)
            << host;
    }
    DiagCloud::CloudSettings taken;
    taken.port = cloud.Server().Port();
    EXPECT_THROW(TestCloud({}, taken), std::system_error);
}
