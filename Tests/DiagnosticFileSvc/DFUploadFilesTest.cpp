#include "DFDiagnosticItem.h"
#include "DFUploadFiles.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

using DiagnosticFileSvc::DFUploadFiles;
using testing::HasSubstr;
using Names = std::set<std::string>;

const std::string kDirectory = "/mnt/nv/product-persistence/";
const std::string kManifest = kDirectory + "dfs_uploadmanifest.json";

struct RunItem : DiagnosticFileSvc::DFDiagnosticItem
{
    RunItem(const std::string& output, const std::string& subType)
        : DFDiagnosticItem("input", output, DFSCommonPB::TOP, subType, DFSCommonPB::SCRIPT)
    {
        BeginHarvestedFile();
    }

    std::string Compressed() const { return GetHarvestedFilename().substr(kDirectory.size()) + ".gz"; }
};

TEST(DFUploadFiles, RemovesWhatACrashHasLeft_ButNothingElse)
{
    WriteWholeFile(kManifest, R"({"UploadManifest":{"item":[)"
                              R"({"filename":"dfs_top_20240131235959.txt","type":"TOP","subType":"top"},)"
                              R"({"filename":"../../../persist/mfg_data.json","type":"TOP","subType":"trick"},)"
                              R"({"filename":"","type":"TOP","subType":"trick"},)"
                              R"({"filename":"/tmp/kept","type":"TOP","subType":"trick"}],"version":1}})");
    for (const char* name : {"dfs_top_20240131235959.txt", "dfs_top_20240131235959.txt.gz", "dfs_diagfile.tar.gz",
                             "someone-elses.json", ".gz", "../../../tmp/kept"}) {
        WriteWholeFile(kDirectory + name, "");
    }
    DFUploadFiles().RemoveAll();
    EXPECT_EQ(NamesIn(kDirectory), (Names{"someone-elses.json", ".gz"}));
    EXPECT_TRUE(std::filesystem::exists("/tmp/kept") && std::filesystem::exists("/persist/mfg_data.json"));
    WriteWholeFile(kManifest, "{\"UploadManifest\":");
    DFUploadFiles().RemoveAll();
    EXPECT_FALSE(std::filesystem::exists(kManifest)) << "one that is cut off";
}

TEST(DFUploadFiles, ListsWhatIsThere_AndSaysWhatIsMissing)
{
    const RunItem top("dfs_top.txt", "top");
    WriteWholeFile(kDirectory + top.Compressed(), "");
    const RunItem failed("dfs_failed", "failed");
    WriteWholeFile(kDirectory + failed.Compressed(), "");
    RunItem lost = top;
    RunItem same = top;
    do { // until both have the same second
        lost = RunItem("one/dfs_lost", "lost");
        same = RunItem("two/dfs_lost", "same name");
    } while (lost.Compressed() != same.Compressed());
    DFUploadFiles files;
    testing::internal::CaptureStderr();
    for (const RunItem& item : {top, RunItem("", "nameless"), lost, same}) {
        files.Add(item);
    }
    files.Drop(failed);
    EXPECT_EQ(files.FilesToTar(),
              "dfs_uploadmanifest.json " + top.Compressed() + " " + lost.Compressed() + " " + same.Compressed());
    files.WriteUploadManifest();
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, AllOf(HasSubstr("Missing from the upload: the item with subType: failed\n"),
                           HasSubstr("archive: " + lost.Compressed() + ", of the item with subType: lost\n"),
                           HasSubstr("lost, overwritten by the item with subType: same name\n"),
                           HasSubstr("DFS UploadManifest markup error - ")));
    EXPECT_THAT(log, Not(HasSubstr("Missing from the archive: " + top.Compressed())));
    EXPECT_EQ(files.Types().uploaditems(2).subtype(), "lost");

    files.RemoveAll();
    EXPECT_EQ(NamesIn(kDirectory), Names{failed.Compressed()}) << "though there was no manifest to go by";
    EXPECT_EQ(files.Count() + files.Types().uploaditems_size(), 0);
}
