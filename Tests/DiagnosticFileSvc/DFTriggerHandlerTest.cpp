#include "DFTriggerHandler.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

#include "Pipeline.h"
#include "TemporaryFolder.h"

namespace
{
using namespace DFSCommonPB;
using SubTypes = std::vector<std::string>;
using testing::HasSubstr;

class DFTriggerHandler : public Pipeline
{
protected:
    DiagCloud::CloudServer m_cloud{CloudOnItsPort()};
};

/** The end of a metadata record whose items are those of the manifest. */
std::string AsUploadedItems(const UploadManifest& manifest)
{
    std::string items;
    for (const auto& item : manifest.item()) {
        items += (items.empty() ? "" : ",") + (R"({"type":")" + DiagFileType_Name(item.type())) + R"(","subType":")" +
                 item.subtype() + R"("})";
    }
    return R"("uploadedItems":[)" + items + "]}";
}

constexpr auto kUndeclared = static_cast<DiagFileType>(50);

const AnswerProbe::Answer kEmptyManifest("Manifest is empty, nothing to upload", 400);
const AnswerProbe::Answer kOneTypeNeeded("Custom file upload requires exactly one file type", 400);
const AnswerProbe::Answer kNoTarball("Unable to create tarball", 400);
} // namespace

TEST_F(DFTriggerHandler, CollectsTheItemsThatTypesAndSubTypeSelect)
{
    StartWithRegistry();
    const struct
    {
        std::vector<DiagFileType> types;
        const char* subType;
        SubTypes selected;
    } cases[] = {
        {{PROC_LOADAVG}, "", {"proc_loadavg"}},
        {{PERSIST_MFGDATA, PROC_LOADAVG}, "", {"mfg_data", "proc_loadavg"}},
        {{UPLOAD_EVERYTHING}, "mfg_data", {"mfg_data"}},
        {{UPLOAD_EVERYTHING, PROC_LOADAVG}, "", {"proc_loadavg"}},
        {{UPLOAD_EVERYTHING, kUndeclared}, "", {}},
        {{PROC_LOADAVG, kUndeclared}, "", {"proc_loadavg"}},
        {{PROC_LOADAVG, PROC_LOADAVG}, "", {"proc_loadavg", "proc_loadavg"}},
        {{PROC_LOADAVG, SWUP_HSM_STATES}, "", {"proc_loadavg"}}, // a device without updates: that item fails
        {{PROC_LOADAVG}, "proc_Loadavg", {}},
        {{PROC_LOADAVG}, " proc_loadavg", {}},
        {{PROC_STAT}, "", {}},
        {{}, "", {}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.types) + " " + each.subType);
        const auto answer = Ask(RequestOf(each.types, each.subType));
        if (each.selected.empty()) {
            EXPECT_EQ(answer, kEmptyManifest);
        } else {
            EXPECT_EQ(answer.second, 200) << answer.first;
            const ArrivedUpload upload = LatestUpload(m_cloud);
            EXPECT_EQ(upload.SubTypes(), each.selected);
            EXPECT_THAT(upload.metadata, testing::EndsWith(AsUploadedItems(upload.manifest)));
        }
    }
}

TEST_F(DFTriggerHandler, UploadsWhatTheItemsHold_AndLeavesNothingBehind)
{
    StartWithRegistry();
    const auto before = NamesIn(kPersistence);
    const auto answer = Ask(RequestOf({PERSIST_MFGDATA, PROC_UPTIME}));
    EXPECT_EQ(answer.second, 200) << answer.first;

    const ArrivedUpload upload = LatestUpload(m_cloud);
    EXPECT_TRUE(upload.IsWhole());
    EXPECT_EQ(upload.Content("mfg_data"), ReadWholeFile("/persist/mfg_data.json"));
    EXPECT_EQ(upload.manifest.version(), 1.0);
    EXPECT_EQ(upload.manifest.item(0).type(), PERSIST_MFGDATA);
    EXPECT_THAT(upload.manifest.item(1).filename(), testing::MatchesRegex("dfs_uptime_[0-9]{14}\\.txt"));
    EXPECT_EQ(NamesIn(kPersistence), before);
}

TEST_F(DFTriggerHandler, UploadsACustomFile_AndForgetsItsItem)
{
    StartWithRegistry();
    WriteWholeFile("/tmp/logs/c.log", "what went wrong\n");

    EXPECT_EQ(Ask(CustomRequestOf("/tmp/logs/c.log", {USER_SPECIFIED_FILE})).second, 200);
    ArrivedUpload upload = LatestUpload(m_cloud);
    EXPECT_EQ(upload.Content("custom_file"), "what went wrong\n");
    EXPECT_THAT(upload.manifest.item(0).filename(), testing::MatchesRegex("dfs_custom_c_[0-9]{14}\\.log"));

    EXPECT_EQ(Ask(CustomRequestOf("/tmp/logs/c.log", {INTROSPECTION}, "trace of Tuesday")).second, 200);
    upload = LatestUpload(m_cloud);
    EXPECT_EQ(upload.SubTypes(), SubTypes{"trace of Tuesday"});
    EXPECT_EQ(upload.manifest.item(0).type(), INTROSPECTION);

    EXPECT_EQ(Ask(RequestOf({USER_SPECIFIED_FILE})), kEmptyManifest) << "the temporary items are gone";
    const auto before = NamesIn(kPersistence);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask(CustomRequestOf("/tmp/logs/none.log", {USER_SPECIFIED_FILE})), kEmptyManifest);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("Missing from the upload: the item with subType: custom_file"));
    EXPECT_EQ(NamesIn(kPersistence).size(), before.size() + 1) << "what the failed item wrote stays";
}

TEST_F(DFTriggerHandler, RefusesWhatItCannotTake_AndStaysFree)
{
    StartWithRegistry();
    const std::string longest(4096, 'x');
    const std::vector<DiagFileType> most(100, PROC_STAT);
    std::vector<DiagFileType> tooMany(100, PROC_STAT);
    tooMany.push_back(kUndeclared);
    const struct
    {
        UploadRequest request;
        AnswerProbe::Answer answer;
    } cases[] = {
        {CustomRequestOf("/persist/mfg_data.json", {}), kOneTypeNeeded},
        {CustomRequestOf("/persist/mfg_data.json", {TOP, LOGREAD}), kOneTypeNeeded},
        {CustomRequestOf({"/persist/mfg_data.json\0x", 24}, {TOP}), {"Upload request's fileToUpload holds a NUL", 400}},
        {CustomRequestOf(longest + "x", {TOP}), {"Upload request's fileToUpload is longer than 4096 bytes", 400}},
        {CustomRequestOf(longest, {TOP}), kEmptyManifest},
        {RequestOf({TOP}, longest + "x"), {"Upload request's subType is longer than 4096 bytes", 400}},
        {RequestOf({TOP}, longest), kEmptyManifest},
        {RequestOf(most), kEmptyManifest},
        {RequestOf(tooMany), {"Upload request names more than 100 file types", 400}},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(Ask(each.request), each.answer);
    }
    EXPECT_EQ(Ask(CustomRequestOf("", {PROC_LOADAVG, PERSIST_MFGDATA})).second, 200) << "an empty path is none";
}

TEST_F(DFTriggerHandler, TellsTheFirstRequesterWhenASecondComes)
{
    StartWithRegistry();
    Register("while [ ! -e /tmp/go ]; do sleep 0.02; done; echo went", "waiting");
    AnswerProbe first;
    AnswerProbe second;
    m_handler.UploadDiagFileRequest(RequestOf({EXE_SCRIPT}), &first.callback);
    m_handler.UploadDiagFileRequest(RequestOf({PROC_LOADAVG}), &second.callback);
    EXPECT_EQ(first.WaitFor(1), (Answers{{"Unable to process request, system busy", 555}}));

    WriteWholeFile("/tmp/go", "");
    const Answers answers = first.WaitFor(2);
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[1].second, 200) << answers[1].first;
    EXPECT_EQ(LatestUpload(m_cloud).SubTypes(), SubTypes{"waiting"});

    m_handler.UploadDiagFileRequest(RequestOf({PROC_LOADAVG}), &second.callback);
    EXPECT_EQ(second.WaitFor(1).size(), 1U) << "the refused request is never answered, the next one is";
}

TEST_F(DFTriggerHandler, LeavesOutGatewayItems_WhileThereIsNoClientOfTheGateway)
{
    StartWithRegistry();
    std::filesystem::remove_all(kPersistence);
    WriteWholeFile(std::string(kPersistence) + ".gz", "");
    Register("/other/payload", "a payload", GATRIX_RESPONSE_PAYLOAD);
    Register("/other/filepath", "a file", GATRIX_RESPONSE_FILEPATH);
    EXPECT_EQ(Ask(RequestOf({EXE_SCRIPT})), kEmptyManifest);
    EXPECT_EQ(NamesIn(kPersistence), std::set<std::string>{".gz"}) << "an item that never ran names no file to delete";
    EXPECT_EQ(Ask(RequestOf({EXE_SCRIPT, PROC_LOADAVG})).second, 200);
    EXPECT_EQ(LatestUpload(m_cloud).SubTypes(), SubTypes{"proc_loadavg"});
}

TEST_F(DFTriggerHandler, RemovesWhatACrashHasLeft_ButNothingElse)
{
    const std::string directory = kPersistence;
    WriteWholeFile(directory + "dfs_uploadmanifest.json",
                   R"({"UploadManifest":{"item":[)"
                   R"({"filename":"dfs_top_20240131235959.txt","type":"TOP","subType":"top"},)"
                   R"({"filename":"../../../persist/mfg_data.json","type":"TOP","subType":"trick"},)"
                   R"({"filename":"","type":"TOP","subType":"trick"},)"
                   R"({"filename":"/tmp/kept","type":"TOP","subType":"trick"}],"version":1}})");
    for (const char* left : {"dfs_top_20240131235959.txt", "dfs_top_20240131235959.txt.gz", "dfs_diagfile.tar.gz"}) {
        WriteWholeFile(directory + left, "left");
    }
    WriteWholeFile("/tmp/kept", "kept");
    WriteWholeFile(directory + "someone-elses.json", "kept");
    WriteWholeFile(directory + ".gz", "not of the entry without a name");
    StartWithoutItems();
    EXPECT_EQ(Ask(RequestOf({TOP})), kEmptyManifest);
    EXPECT_EQ(NamesIn(kPersistence), (std::set<std::string>{"someone-elses.json", ".gz"}));
    EXPECT_EQ(ReadWholeFile("/tmp/kept"), "kept");
    EXPECT_TRUE(std::filesystem::exists("/persist/mfg_data.json"));
}

TEST_F(DFTriggerHandler, PassesAManifestThatCannotBeRead)
{
    for (const char* content : {"{\"UploadManifest\":", "[]", "{\"item\":[{\"filename\":\"x\"}]}"}) {
        WriteWholeFile(std::string(kPersistence) + "dfs_uploadmanifest.json", content);
        StartWithoutItems();
        EXPECT_EQ(Ask(RequestOf({TOP})), kEmptyManifest);
        EXPECT_TRUE(NamesIn(kPersistence).empty());
    }
}

TEST_F(DFTriggerHandler, SaysWhatAnUploadHasLost_AndLeavesNothingBehind)
{
    StartWithRegistry();
    // As on a full disk: the manifest cannot be stored, and one item's file is not there to be compressed.
    const std::string inTheWay = std::string(kPersistence) + "dfs_uploadmanifest.json.tmp";
    WriteWholeFile(inTheWay + "/file", "");
    const auto before = NamesIn(kPersistence);
    Register(std::string("rm ") + kPersistence + "dfs_lost*", "lost");
    Register("echo kept", "kept");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask(RequestOf({EXE_SCRIPT})).second, 200);
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("DFS UploadManifest store persistence error - "));
    EXPECT_THAT(log, testing::ContainsRegex("Missing from the archive: dfs_lost_[0-9]+.gz, of the item .*: lost"));
    EXPECT_THAT(log, Not(testing::ContainsRegex("Missing from the archive: dfs_kept")));

    Register("echo one", "one/same", SCRIPT, PROC_STAT);
    Register("echo two", "two/same", SCRIPT, PROC_STAT);
    const std::string overwritten = "Missing from the archive: the item with subType: one/same, overwritten by ";
    // The second may turn between the two.
    for (int attempt = 0; attempt < 10 && log.find(overwritten) == std::string::npos; ++attempt) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Ask(RequestOf({PROC_STAT})).second, 200);
        log = testing::internal::GetCapturedStderr();
    }
    EXPECT_THAT(log, HasSubstr(overwritten));
    EXPECT_EQ(NamesIn(kPersistence), before);
}

TEST_F(DFTriggerHandler, AnswersWhenTheArchiveCannotBeRead_AndStaysFree)
{
    StartWithRegistry();
    const std::string inTheWay = std::string(kPersistence) + "dfs_diagfile.tar.gz";
    std::filesystem::create_directories(inTheWay); // a folder is never removed, not even an empty one
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG})), kNoTarball);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(inTheWay + " stays, it cannot be removed: Is a dir"));
    std::filesystem::remove_all(inTheWay);
    EXPECT_EQ(Ask(RequestOf({PROC_LOADAVG})).second, 200);
}
