#include "DFUploadDiagnosticFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/json.h>

#include <regex>
#include <string>
#include <vector>

#include "AnswerProbe.h"
#include "HttpGlobal.h"
#include "TemporaryFolder.h"
#include "Upload.h"

namespace
{
using DiagCloud::Outcome;
using DiagCloud::RequestKind;

class DFUploadDiagnosticFiles : public testing::Test
{
protected:
    DFUploadDiagnosticFiles() { Http::InitializeProcess(); }

    AnswerProbe::Answer Upload(const std::string& archive)
    {
        DFSCommonPB::UploadTypes items;
        auto& item = *items.add_uploaditems();
        item.set_type(DFSCommonPB::TOP);
        item.set_subtype("top \"quoted\"");
        AnswerProbe probe;
        DiagnosticFileSvc::DFUploadDiagnosticFiles::GetInstance().PostMetadata(items, archive, &probe.callback);
        const auto answers = probe.WaitFor(1);
        return answers.size() == 1 ? answers[0] : AnswerProbe::Answer{"no answer", -1};
    }

    static Json::Value Parsed(const std::string& text)
    {
        Json::Value value;
        EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
        return value;
    }

    static Outcome Answering(RequestKind kind, int status, const std::string& body)
    {
        Outcome outcome;
        outcome.match = kind;
        outcome.status = status;
        outcome.body = body;
        return outcome;
    }

    const TemporaryFolder m_folder;
    const std::string m_archive = m_folder.Write("archive.tar.gz", "not really an archive");
};
} // namespace

TEST_F(DFUploadDiagnosticFiles, PostsMetadataThroughTheProxy_ThenTheArchive)
{
    DeviceManagerPb::DeviceInfo info;
    info.set_name("Kitchen \xc3\xa9");
    DiagnosticFileSvc::DFUploadDiagnosticFiles::GetInstance().SetDeviceInfo(info);
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    const auto answer = Upload(m_archive);
    EXPECT_EQ(answer.second, 200) << answer.first;

    const auto requests = cloud.Requests();
    ASSERT_EQ(requests.size(), 2U);
    const std::string guid = Parsed(ReadWholeFile("/persist/mfg_data.json"))["guid"].asString();
    EXPECT_EQ(requests[0].target, "http://diagnostics.vantor.example/senders/" + guid + "/metadata");
    const Json::Value metadata = Parsed(requests[0].body);
    EXPECT_EQ(metadata["productName"], "Kitchen \xc3\xa9");
    EXPECT_EQ(metadata["productId"], guid);
    EXPECT_EQ(metadata["productType"], "meridel");
    EXPECT_EQ(metadata["softwareVersion"], "1.0.67-10452+c5f2e8b");
    EXPECT_EQ(metadata["fileType"], "VRD9 Diagnostics");
    EXPECT_TRUE(
        std::regex_match(metadata["uploadTimeStamp"].asString(), std::regex(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ)")));
    EXPECT_EQ(metadata["uploadedItems"][0]["type"], "TOP");
    EXPECT_EQ(metadata["uploadedItems"][0]["subType"], "top \"quoted\"");
    EXPECT_EQ(requests[0].body.front(), '{');
    EXPECT_EQ(requests[0].body.substr(requests[0].body.size() - 2), "]}") << "the root is gone, with its brace";

    EXPECT_THAT(requests[1].target, testing::StartsWith("/archives/")) << "not through the proxy";
    EXPECT_EQ(requests[1].md5, DiagCloud::Md5Verdict::kMatches);
    EXPECT_EQ(ReadWholeFile(requests[1].archivePath), "not really an archive");
}

TEST_F(DFUploadDiagnosticFiles, TakesItsVersionFromTheFile_OrDefaults)
{
    const struct
    {
        const char* content;
        const char* version;
    } cases[] = {
        {R"({"short": "2.1", "build_number": 77, "abbrev_commit": "abc"})", "2.1-77+abc"},
        {R"({"short": "2.1"})", "2.1-99999+0.000.000"},
        {"", "1.0.67-99999+0.000.000"},
        {"[1]", "1.0.67-99999+0.000.000"},
    };
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    std::size_t number = 1;
    for (const auto& each : cases) {
        WriteWholeFile("/opt/Vantor/etc/VantorVersion.json", each.content);
        Upload(m_archive);
        const auto request = cloud.WaitForRequest(number, kDeadline);
        ASSERT_TRUE(request);
        EXPECT_EQ(Parsed(request->body)["softwareVersion"], each.version) << each.content;
        number += 2;
    }
}

TEST_F(DFUploadDiagnosticFiles, ReportsWhatTheCloudSays)
{
    const struct
    {
        std::vector<Outcome> script;
        AnswerProbe::Answer answer;
    } cases[] = {
        {{Answering(RequestKind::kMetadata, 200, "<html>")}, {"<html>", 200}},
        {{Answering(RequestKind::kMetadata, 401, "")}, {"", 401}},
        {{Answering(RequestKind::kMetadata, 200, std::string(2000, '['))}, {std::string(2000, '['), 200}},
        {{Answering(RequestKind::kArchive, 403, "no")}, {"no", 403}},
        {{Answering(RequestKind::kArchive, 201, R"({"ok":1})")}, {R"({"ok":1})", 201}},
    };
    for (const auto& each : cases) {
        const DiagCloud::CloudServer cloud(CloudOnItsPort(each.script));
        EXPECT_EQ(Upload(m_archive), each.answer);
    }
}

TEST_F(DFUploadDiagnosticFiles, AnswersWhenTheArchiveCannotBeRead)
{
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    for (const std::string& path : {m_folder.Path() + "/none", m_folder.Path()}) {
        EXPECT_EQ(Upload(path), AnswerProbe::Answer("Unable to create tarball", 400)) << path;
    }
}

TEST_F(DFUploadDiagnosticFiles, SendsAnEmptyArchive)
{
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    EXPECT_EQ(Upload(m_folder.Write("empty", "")).second, 200);
    EXPECT_EQ(cloud.Requests().back().md5, DiagCloud::Md5Verdict::kMatches);
    EXPECT_EQ(cloud.Requests().back().bodySize, 0U);
}
