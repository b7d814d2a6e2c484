#include "DFDiagnosticItem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>

#include "DFDiagItemExistingFile.h"
#include "DFDiagItemScript.h"
#include "UploadSysInfo.pb.h"

namespace
{
using namespace DiagnosticFileSvc;

constexpr std::int64_t kNewYearsEveIsh = 1706745599; // 2024-01-31 23:59:59 UTC

const std::string kDirectory = "/mnt/nv/product-persistence/";
} // namespace

TEST(DFDiagnosticItem, StampsFileNames)
{
    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    tzset();
    const struct
    {
        const char* path;
        const char* stamped;
    } cases[] = {
        {"/mnt/nv/product-persistence/dfs_SwUpHsmStates.json", "dfs_SwUpHsmStates_20240131235959.json"},
        {"dfs_custom_c.log", "dfs_custom_c_20240131235959.log"},
        {"/a.b/archive.tar.gz", "archive.tar_20240131235959.gz"},
        {"/a.b/plain", "plain_20240131235959"},
        {"/home/.profile", ".profile_20240131235959"},
        {"trailing.", "trailing_20240131235959."},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(DFDiagnosticItem::AddDateTimeToFilename(each.path, kNewYearsEveIsh), kDirectory + each.stamped);
    }
    for (const char* nameless : {"", "/", "/mnt/nv/"}) {
        EXPECT_EQ(DFDiagnosticItem::AddDateTimeToFilename(nameless, kNewYearsEveIsh), "");
    }
}

TEST(DFDiagnosticItem, TakesItsOutputFromTheRegistrationOrItsSubType)
{
    DFSCommonPB::diagItemRegistration registration;
    registration.set_input("encrypt-logs date");
    registration.set_filetype(DFSCommonPB::EXE_SCRIPT);
    registration.set_subtype(" clock  state");
    registration.set_harvesttype(DFSCommonPB::SCRIPT);
    EXPECT_EQ(DFDiagnosticItem(registration).GetOutputFilename(), kDirectory + "dfs__clock__state");

    registration.set_outputfilename("/mnt/nv/product-persistence/dfs_clock.txt");
    const DFDiagnosticItem item(registration);
    EXPECT_EQ(item.GetOutputFilename(), "/mnt/nv/product-persistence/dfs_clock.txt");
    EXPECT_EQ(item.GetInput(), "encrypt-logs date");
    EXPECT_EQ(item.GetDiagFileType(), DFSCommonPB::EXE_SCRIPT);
    EXPECT_EQ(item.GetSubType(), " clock  state");
    EXPECT_EQ(item.GetHarvestType(), DFSCommonPB::SCRIPT);
}

TEST(DFDiagnosticItem, EntersTheManifestWithTheFileOfItsRun)
{
    auto harvester = std::make_shared<DFHarvestSystemInfo>();
    DFHarvestSystemInfo::Answer onDone;
    DFDiagItemScript item(harvester, "true", kDirectory + "dfs_top.txt", DFSCommonPB::TOP, "top", DFSCommonPB::SCRIPT,
                          &onDone);
    DFSCommonPB::UploadManifest manifest;
    item.AddFileToManifest(manifest);
    EXPECT_FALSE(manifest.item(0).has_filename()) << "there was no run yet";

    item.ProcessDiagnosticItem();
    item.AddFileToManifest(manifest);
    ASSERT_EQ(manifest.item_size(), 2);
    EXPECT_TRUE(std::regex_match(manifest.item(1).filename(), std::regex(R"(dfs_top_\d{14}\.txt)")))
        << manifest.item(1).filename();
    EXPECT_EQ(item.GetHarvestedFilename(), kDirectory + manifest.item(1).filename());
    EXPECT_EQ(manifest.item(1).type(), DFSCommonPB::TOP);
    EXPECT_EQ(manifest.item(1).subtype(), "top");
}
