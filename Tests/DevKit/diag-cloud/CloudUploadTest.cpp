#include "StringUtils.h"
#include "TestCloud.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(CloudUpload, MetadataAndArchive_AreStoredAndRecorded)
{
    const std::string content(8388608, '\0');
    std::vector<std::string> lines;
    DiagCloud::CloudSettings settings;
    settings.writer = [&lines](const std::string& line) { lines.push_back(line); };
    TestCloud cloud("[]", settings);
    const std::string path = cloud.Announce();
    // A client that did not get the answer sends the archive again.
    EXPECT_THAT(cloud.PostArchive(path), Answer(200, R"("size":43)"));
    EXPECT_THAT(cloud.Ask("POST " + path, "Content-MD5: 96995b58d4cbf6aaa9041b4f00c7f6ae\r\n", content),
                Answer(200, R"("size":8388608)"));
    const auto metadata = cloud.Request(1);
    const auto archive = cloud.Request(3);
    EXPECT_EQ(metadata.target, "http://diagnostics.vantor.example/senders/GUID-1/metadata");
    EXPECT_EQ(metadata.headers.at("X-Product-Token"), "secret-token");
    EXPECT_EQ(archive.productId, "GUID-1");
    EXPECT_EQ(archive.archivePath, cloud.Folder() + "/" + metadata.archiveId + ".tar.gz");
    EXPECT_TRUE(ReadWholeFile(archive.archivePath) == content);
    EXPECT_EQ(ReadWholeFile(cloud.Folder() + "/" + metadata.archiveId + "-metadata.json"), TestCloud::kMetadata);
    EXPECT_EQ(cloud.Stored(), 2U);

    cloud.Stop();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr("GUID-1, token present -> 200 announces archive " + archive.archiveId));
    EXPECT_THAT(lines[0], Not(HasSubstr("secret-token")));
    EXPECT_THAT(lines[2], HasSubstr("8388608 bytes, Content-MD5 matches"));
}

TEST(CloudUpload, BadRequest_IsRefusedWithTheReasonAndNothingStored)
{
    const TestCloud cloud;
    const auto changed = [](const char* from, const char* to) {
        return StringUtils::FindReplace(TestCloud::kMetadata, from, to);
    };
    const std::string metadata = "POST /senders/GUID-1/metadata";
    const std::string path = cloud.Announce();
    const struct
    {
        std::string requestLine;
        std::string headers;
        int status;
        const char* part;
        std::string body = TestCloud::kContent;
    } cases[] = {
        {metadata, "", 400, "not a JSON object", "[]"},
        {metadata, "", 400, R"(no text \"softwareVersion\")",
         changed(R"("softwareVersion":"1.0")", R"("softwareVersion":1)")},
        {metadata, "", 400, R"(\"productId\" is not the product id of the path)", changed("GUID-1", "GUID-2")},
        {metadata, "", 400, R"(\"uploadTimeStamp\" is not a time)", changed("05Z", "05+00:00")},
        {metadata, "", 400, R"(an entry of \"uploadedItems\")", changed("subType", "subtype")},
        {metadata, "", 413, "", std::string(2000000, ' ')},
        {"POST " + path, "", 400, "Content-MD5 is missing"},
        {"POST " + path, "Content-MD5: d41d8cd98f00b204e9800998ecf8427e\r\n", 400, "does not match the archive"},
        {"POST " + path, "Content-MD5: 9E107D9D372BB6826BD81D3542A419D6\r\n", 400, "32 lower-case hexadecimal digits"},
        {"POST " + path + '0', TestCloud::kMd5, 404, "no metadata announced this archive"},
        {"POST /senders/a/b/metadata", "", 404, "no such path"},
        {"GET http://127.0.0.1/", "", 404, "no such path"},
        {"GET " + path, "", 405, "Allow: POST\r\n"},
        {"DELETE /senders/x/metadata?y=z", "", 405, "only POST"},
    };
    for (const auto& [requestLine, headers, status, part, body] : cases) {
        EXPECT_THAT(cloud.Ask(requestLine, headers, body), Answer(status, part)) << requestLine;
    }
    EXPECT_EQ(cloud.Stored(), 1U);
}
