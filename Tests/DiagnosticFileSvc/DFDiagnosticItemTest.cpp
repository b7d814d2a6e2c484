#include "DFDiagnosticItem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

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
