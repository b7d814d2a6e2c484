#include "DFTriggerHandler.h"
#include "Pipeline.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

using namespace DFSCommonPB;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers

struct DFTriggerHandlerTest : Pipeline
{
    DFTriggerHandlerTest() { StartWithRegistry(); }

    const DiagCloud::CloudServer m_cloud{CloudOnItsPort()};
};

const Answer kEmptyManifest("Manifest is empty, nothing to upload", 400);

TEST_F(DFTriggerHandlerTest, UploadsWhatTheItemsHold_AndLeavesNothingBehind)
{
    WriteWholeFile(std::string(kPersistence) + ".gz", "");
    const auto before = NamesIn(kPersistence);
    const auto answer = Ask(RequestOf({PERSIST_MFGDATA, PROC_UPTIME}));
    EXPECT_EQ(answer.second, 200) << answer.first;

    const ArrivedUpload upload = LatestUpload(m_cloud);
    EXPECT_EQ(upload.Content("mfg_data"), ReadWholeFile("/persist/mfg_data.json"));
    EXPECT_EQ(upload.manifest.version(), 1.0);
    EXPECT_EQ(upload.manifest.item(0).type(), PERSIST_MFGDATA);
    EXPECT_THAT(upload.manifest.item(1).filename(), MatchesRegex("dfs_uptime_[0-9]{14}\\.txt"));
    EXPECT_THAT(upload.metadata, HasSubstr(R"("uploadedItems":[{"type":"PERSIST_MFGDATA","subType":"mfg_data"},)"
                                           R"({"type":"PROC_UPTIME","subType":"uptime"}]})"));
    EXPECT_EQ(NamesIn(kPersistence), before);

    // A device without updates: that item fails. So do the gateway's items without a client.
    m_handler.DiagItemRegistration(Item("/other/payload", "a payload", GATRIX_RESPONSE_PAYLOAD));
    m_handler.DiagItemRegistration(Item("/other/filepath", "a file", GATRIX_RESPONSE_FILEPATH));
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG, EXE_SCRIPT, SWUP_HSM_STATES, PROC_LOADAVG})).second, 200);
    EXPECT_EQ(LatestUpload(m_cloud).SubTypes(), (SubTypes{"proc_loadavg", "proc_loadavg"}));
    EXPECT_THAT(NamesIn(kPersistence), testing::Contains(".gz")) << "an item that never ran names no file to delete";
}

TEST_F(DFTriggerHandlerTest, UploadsACustomFile_AndForgetsItsItem)
{
    WriteWholeFile("/tmp/logs/c.log", "what went wrong\n");
    EXPECT_EQ(Ask(RequestOf({USER_SPECIFIED_FILE}, "", "/tmp/logs/c.log")).second, 200);
    const ArrivedUpload upload = LatestUpload(m_cloud);
    EXPECT_EQ(upload.Content("custom_file"), "what went wrong\n");
    EXPECT_THAT(upload.manifest.item(0).filename(), MatchesRegex("dfs_custom_c_[0-9]{14}\\.log"));
    EXPECT_EQ(Ask(RequestOf({USER_SPECIFIED_FILE})), kEmptyManifest) << "the temporary item is gone";

    const auto before = NamesIn(kPersistence);
    EXPECT_EQ(Ask(RequestOf({USER_SPECIFIED_FILE}, "", "/tmp/logs/none.log")), kEmptyManifest);
    EXPECT_EQ(NamesIn(kPersistence).size(), before.size() + 1) << "what the failed item wrote stays";
}

TEST_F(DFTriggerHandlerTest, AnswersToWhatItCannotTake_AndStaysFree)
{
    EXPECT_EQ(Ask(RequestOf({}, "", "/persist/mfg_data.json")),
              Answer("Custom file upload requires exactly one file type", 400));
    testing::internal::CaptureStderr();
    m_handler.DiagItemRegistration(Item(std::string(4097, 'x'), "long"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("DiagItemRegistration: Registration refused, its in"));

    const std::string manifest = std::string(kPersistence) + "dfs_uploadmanifest.json.tmp";
    const std::string archive = std::string(kPersistence) + "dfs_diagfile.tar.gz";
    std::filesystem::create_directories(manifest);
    const auto before = NamesIn(kPersistence);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG})).second, 200) << "the archive goes without a manifest";
    EXPECT_EQ(NamesIn(kPersistence), before);
    std::filesystem::create_directories(archive); // a folder is never removed, not even an empty one
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG})), Answer("Unable to create tarball", 400));
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("DFS UploadManifest store persistence error - "));
    EXPECT_THAT(log, HasSubstr(archive + " stays, it cannot be removed: Is a dir"));
    std::filesystem::remove_all(archive);
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG, PERSIST_MFGDATA})).second, 200);
}

TEST_F(DFTriggerHandlerTest, TellsTheFirstRequesterWhenASecondComes)
{
    m_handler.DiagItemRegistration(Item("while [ ! -e /tmp/go ]; do sleep 0.02; done; echo went", "waiting"));
    AnswerProbe first;
    AnswerProbe second;
    m_handler.UploadDiagFileRequest(RequestOf({EXE_SCRIPT}), &first.callback);
    m_handler.UploadDiagFileRequest(RequestOf({PROC_LOADAVG}), &second.callback);
    EXPECT_EQ(first.Next(), Answer("Unable to process request, system busy", 555));

    WriteWholeFile("/tmp/go", "");
    EXPECT_EQ(first.Next().second, 200);
    EXPECT_EQ(LatestUpload(m_cloud).SubTypes(), SubTypes{"waiting"});

    m_handler.UploadDiagFileRequest(RequestOf({PROC_LOADAVG}), &second.callback);
    EXPECT_EQ(second.Next().second, 200) << "the refused request is never answered, the next one is";
}
