#include "DFUploadFiles.h"

#include "DFDiagnosticItem.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <set>

namespace
{
using DiagnosticFileSvc::DFUploadFiles;
using testing::HasSubstr;
using Names = std::set<std::string>;

const std::string kDirectory = "/mnt/nv/product-persistence/";
const std::string kManifest = kDirectory + "dfs_uploadmanifest.json";

/** An item that has run. */
class RunItem : public DiagnosticFileSvc::DFDiagnosticItem
{
public:
    RunItem(const std::string& output, const std::string& subType)
        : DFDiagnosticItem("input", output, DFSCommonPB::TOP, subType, DFSCommonPB::SCRIPT)
    {
        BeginHarvestedFile();
    }

    std::string Compressed() const { return GetHarvestedFilename().substr(kDirectory.size()) + ".gz"; }
};
} // namespace

TEST(DFUploadFiles, RemovesWhatACrashHasLeft_ButNothingElse)
{
    WriteWholeFile(kManifest, R"({"UploadManifest":{"item":[)"
                              R"({"filename":"dfs_top_20240131235959.txt","type":"TOP","subType":"top"},)"
                              R"({"filename":"../../../persist/mfg_data.json","type":"TOP","subType":"trick"},)"
                              R"({"filename":"","type":"TOP","subType":"trick"},)"
                              R"({"filename":"/tmp/kept","type":"TOP","subType":"trick"}],"version":1}})");
    const std::string kept[] = {"/tmp/kept", kDirectory + "someone-elses.json", kDirectory + ".gz"};
    for (const std::string& path : kept) {
        WriteWholeFile(path, "kept");
    }
    for (const char* left : {"dfs_top_20240131235959.txt", "dfs_top_20240131235959.txt.gz", "dfs_diagfile.tar.gz"}) {
        WriteWholeFile(kDirectory + left, "left");
    }
    DFUploadFiles().RemoveAll();
    EXPECT_EQ(NamesIn(kDirectory), (Names{"someone-elses.json", ".gz"}));
    EXPECT_TRUE(std::filesystem::exists(kept[0]));
    EXPECT_TRUE(std::filesystem::exists("/persist/mfg_data.json"));
    for (const char* unreadable : {"{\"UploadManifest\":", "[]", "{\"item\":[{\"filename\":\"x\"}]}"}) {
        WriteWholeFile(kManifest, unreadable);
        DFUploadFiles().RemoveAll();
        EXPECT_FALSE(std::filesystem::exists(kManifest));
    }
}

TEST(DFUploadFiles, ListsWhatIsThere_AndSaysWhatIsMissing)
{
    const RunItem top("dfs_top.txt", "top");
    WriteWholeFile(kDirectory + top.Compressed(), "");
    const RunItem failed("dfs_failed", "failed");
    WriteWholeFile(kDirectory + failed.Compressed(), "");
    RunItem lost("one/dfs_lost", "lost");
    const RunItem same("two/dfs_lost", "same name");
    if (lost.Compressed() != same.Compressed()) {
        lost = RunItem("one/dfs_lost", "lost"); // the second has turned between the two
    }
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
    for (const std::string& line :
         {std::string("Missing from the upload: the item with subType: failed\n"),
          "Missing from the archive: " + lost.Compressed() + ", of the item with subType: lost\n",
          std::string("the item with subType: lost, overwritten by the item with subType: same name\n"),
          std::string("DFS UploadManifest markup error - ")}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
    EXPECT_THAT(log, Not(HasSubstr("Missing from the archive: " + top.Compressed())));
    EXPECT_EQ(files.Types().uploaditems(2).subtype(), "lost");

    files.RemoveAll();
    EXPECT_EQ(NamesIn(kDirectory), Names{failed.Compressed()}) << "though there was no manifest to go by";
    EXPECT_EQ(files.Count() + files.Types().uploaditems_size(), 0);
}
