#include "AnswerProbe.h"
#include "CapturedLog.h"
#include "ChildProcess.h"
#include "DFUploadDiagnosticFiles.h"
#include "HttpGlobal.h"
#include "Memory.h"
#include "Sanitized.h"
#include "ScriptedHttpServer.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"
#include "Texts.h"
#include "Upload.h"

#include <ctime>
#include <filesystem>

using DiagCloud::Outcome;
using DiagCloud::RequestKind;
using DiagnosticFileSvc::DFUploadDiagnosticFiles;
using Server = ScriptedHttpServer;

const std::string kGuid = "7c1f0e52-9b3a-4d86-a5e4-2f60c8d1937b"; // of the sample manufacturing data
const std::string kUploadUrl = R"({"uploadUrl":"http://127.0.0.1:8888/archive"})";

struct DFUploadDiagnosticFilesTest : testing::Test
{
    DFUploadDiagnosticFilesTest() { Http::InitializeProcess(); }

    Answer Upload(const std::string& archive)
    {
        AnswerProbe probe;
        DFUploadDiagnosticFiles::GetInstance().PostMetadata({}, archive, &probe.callback);
        return probe.Next();
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

TEST_F(DFUploadDiagnosticFilesTest, ReportsWhatTheCloudSays)
{
    std::string longest = R"({"uploadUrl":"http://127.0.0.1:8888/archives/x"})";
    longest.resize(std::size_t{64} * 1024, ' ');
    const std::string nested(2000, '[');
    const auto expect = [this](const Answer& answer, const std::string& archive, const std::vector<Outcome>& script) {
        const DiagCloud::CloudServer cloud(CloudOnItsPort(script));
        EXPECT_EQ(Upload(archive), answer);
    };
    expect({"<html>", 200}, m_archive, {Answering(RequestKind::Metadata, 200, "<html>")});
    expect({"", 401}, m_archive, {Answering(RequestKind::Metadata, 401, "")});
    expect({nested, 200}, m_archive, {Answering(RequestKind::Metadata, 200, nested)});
    expect({"no", 403}, m_archive,
           {Answering(RequestKind::Metadata, 200, longest), Answering(RequestKind::Archive, 403, "no")});
    expect({R"({"ok":1})", 201}, m_folder.Write("empty", ""), {Answering(RequestKind::Archive, 201, R"({"ok":1})")});
    expect({"Unable to create tarball", 400}, m_folder.Path() + "/none", {});
    expect({"Unable to create tarball", 400}, m_folder.Path(), {});
}

TEST_F(DFUploadDiagnosticFilesTest, TakesInOfAnAnswerWhatTheRequesterCanBeTold)
{
    constexpr std::size_t kSize = std::size_t{16} << 20U;
    constexpr std::size_t kKept = std::size_t{1} << 20U;
    const std::string json =
        kUploadUrl.substr(0, kUploadUrl.size() - 1) + ",\"a\":[1" + Repeated(",1", kSize / 2) + "]}";
    for (const std::string& body : {json, std::string(kSize, '\x01')}) {
        for (const std::vector<Server::Step>& script :
             {std::vector<Server::Step>{{Server::Answer(200, body)}},
              {{Server::Answer(200, kUploadUrl)}, {Server::Answer(200, body)}}}) {
            const Server cloud(script, 8888);
            const long before = Memory();
            const CapturedLog log(3);
            EXPECT_EQ(Upload(m_archive), Answer(body.substr(0, kKept), 200));
            EXPECT_LT(testing::internal::GetCapturedStderr().size(), 100000U);
            EXPECT_EQ(cloud.Requests().size(), script.size());
            EXPECT_LT(Memory() - before, 40000) << "the server's own copy, and a little";
        }
    }
}

TEST_F(DFUploadDiagnosticFilesTest, AnswersWhateverIsThrown)
{
    SKIP_IF_SANITIZED("a sanitizer needs the memory that is taken away here");
    // More than the allocator keeps in reserve for a thread.
    const std::string large = m_folder.Write("large", "");
    std::filesystem::resize_file(large, std::size_t{80} << 20U);
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    EXPECT_EQ(Upload(m_archive).second, 200);
    LimitMemoryToMore(20 << 10);
    EXPECT_EQ(Upload(large), Answer("Unable to upload", 400));
    EXPECT_EQ(Upload(m_archive).second, 200) << "the next one goes well";
}

TEST_F(DFUploadDiagnosticFilesTest, SendsAndLogsWhatIsStated_AndRetriesBothPosts)
{
    DeviceManagerPb::DeviceInfo info;
    info.set_name("Kitchen \xc3\xa9");
    auto& client = DFUploadDiagnosticFiles::GetInstance();
    const CapturedLog log;
    client.SetDeviceInfo(info);
    WriteWholeFile("/mnt/nv/product-persistence/quillane_jwt.json",
                   R"({"access_token":"a.b.c","expires_in":1,"token_type":"bearer"})");
    const std::string busy = Server::Answer(503, "", {{"Retry-After", "1"}});
    const Server cloud({{busy}, {Server::Answer(200, kUploadUrl)}, {busy}, {Server::Answer(201, "{}")}}, 8888);
    EXPECT_EQ(Upload(m_archive), Answer("{}", 201));
    const auto requests = cloud.Requests();
    ASSERT_EQ(requests.size(), 4U);
    const std::string md5 = "630f1bf5d79ba418f008798ea4ca85e0";
    // But for the ends of operations, of which the last comes after the answer; and that the back-off table is used.
    const std::string lines =
        CapturedLog::TextOf("(?:DFUploadDiagnosticFiles|RunTask(?=: HandleRetryHeaders: Retry-Count))",
                            "(?!OnEntry|[A-Za-z0-9]*: [A-Za-z0-9]* - END)");
    EXPECT_EQ(StringUtils::FindReplace(StringUtils::FindReplace(lines, requests[0].body, "BODY"), kGuid, "GUID"), R"(
3 SetDeviceInfoCB: SetDeviceInfoCB - START
3 SetDeviceInfoCB: deviceName: Kitchen é
3 PostMetadataCB: PostMetadataCB - START
3 LoadMetadata: LoadMetadata - START
3 PostMetadataCB: upload_sys_logs marketing product name: VRD9
3 PostMetadataCB: upload_sys_logs product type: meridel
3 PostMetadataCB: upload_sys_logs product id: GUID
3 BuildMetadataPostHeader: BuildMetadataPostHeader - START
3 LoadProductJwt: LoadProductJwt - START
3 LoadProductJwt: Product Jwt is loaded
3 LoadProductJwt: LoadProductJwt - START
4 BuildMetadataPostHeader: upload_sys_logs product jwt: a.b.c
4 BuildMetadataPostHeader: upload_sys_logs - metadata headers: {"Connection":"keep-alive","Content-Type":"application/json","x-product-token":"a.b.c"}
3 BuildMetadataPayload: BuildMetadataPayload - START
3 BuildMetadataPayload: upload_sys_logs software version: 1.0.67-10452+c5f2e8b
3 BuildMetadataPayload: payload: BODY
3 PostMetadataCB: upload_sys_logs post metadata url: http://diagnostics.vantor.example/senders/GUID/metadata
6 HandleRetryHeaders: Retry-Count header is not valid, defaulting to back off retries count of:4
3 MetaDataPostRespCB: MetaDataPostRespCB - START
3 MetaDataPostRespCB: MetaDataPostRespCB, Response:
3 MetaDataPostRespCB: response: {"uploadUrl":"http://127.0.0.1:8888/archive"}
3 MetaDataPostRespCB: MetaDataPostRespCB, uploadUrl: http://127.0.0.1:8888/archive
3 PostDiagnosticFile: PostDiagnosticFile - START
3 CalculateMD5Checksum: CalculateMD5Checksum - START
3 CalculateMD5Checksum: upload_sys_logs - CalculateMD5Checksum, result: 630f1bf5d79ba418f008798ea4ca85e0
3 PostDiagnosticFile: compressed file size:21
3 BuildDiagnosticFilePostHeader: BuildDiagnosticFilePostHeader - START
3 LoadProductJwt: LoadProductJwt - START
3 LoadProductJwt: Product Jwt is loaded
3 LoadProductJwt: LoadProductJwt - START
4 BuildDiagnosticFilePostHeader: upload_sys_logs product jwt: a.b.c
4 BuildDiagnosticFilePostHeader: \n\nupload_sys_logs - BuildDiagnosticFilePostHeader: {"Content-MD5":"630f1bf5d79ba418f008798ea4ca85e0","Content-Type":"application/octet-stream","x-product-token":"a.b.c"}
6 HandleRetryHeaders: Retry-Count header is not valid, defaulting to back off retries count of:4
3 DiagFilePostRespCB: DiagFilePostRespCB - START
3 DiagFilePostRespCB: DiagFilePostRespCB, Response:
3 DiagFilePostRespCB: response: {}
3 DiagFilePostRespCB: DiagFilePostRespCB, post failed
)");
    for (const auto& request : requests) {
        EXPECT_THAT(request.Fields("x-product-token"), testing::ElementsAre("a.b.c"));
    }
    EXPECT_EQ(requests[1].Line(), "POST http://diagnostics.vantor.example/senders/" + kGuid + "/metadata HTTP/1.1");
    EXPECT_THAT(requests[1].body, testing::HasSubstr("\"productName\":\"Kitchen \xc3\xa9\""));
    std::tm sent{};
    const std::size_t stamp = requests[1].body.find("uploadTimeStamp");
    strptime(requests[1].body.substr(stamp).c_str(), "uploadTimeStamp\":\"%Y-%m-%dT%H:%M:%SZ", &sent);
    EXPECT_NEAR(timegm(&sent), std::time(nullptr), 60) << requests[1].body;
    EXPECT_EQ(requests[3].Line(), "POST /archive HTTP/1.1") << "not through the proxy";
    EXPECT_THAT(requests[3].Fields("Content-MD5"), testing::ElementsAre(md5));
    EXPECT_EQ(requests[3].body, "not really an archive");
    EXPECT_TRUE(WaitUntil([] {
        return RunProgram({"ss", "-tnH", "dport = :8888"}).output.empty();
    })) << "no connection is kept";
}
