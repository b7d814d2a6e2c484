#include "DFDiagnosticItem.h"
#include "UploadSysInfo.pb.h"

#include <gtest/gtest.h>

#include <cstdlib>

using DiagnosticFileSvc::DFDiagnosticItem;

TEST(DFDiagnosticItem, StampsFileNames)
{
    setenv("TZ", "XXX-5", 1); // NOLINT(concurrency-mt-unsafe): before there is another thread
    const std::pair<const char*, const char*> cases[] = {
        {"/mnt/nv/product-persistence/dfs_SwUpHsmStates.json", "dfs_SwUpHsmStates_20240131235959.json"},
        {"/a.b/archive.tar.gz", "archive.tar_20240131235959.gz"},
        {"/a.b/plain", "plain_20240131235959"},
        {"/home/.profile", ".profile_20240131235959"},
        {"trailing.", "trailing_20240131235959."},
    };
    for (const auto& [path, stamped] : cases) {
        EXPECT_EQ(DFDiagnosticItem::AddDateTimeToFilename(path, 1706745599),
                  std::string("/mnt/nv/product-persistence/") + stamped);
    }
    EXPECT_EQ(DFDiagnosticItem::AddDateTimeToFilename("/mnt/nv/", 1706745599), "");
}

TEST(DFDiagnosticItem, TakesItsOutputFromTheRegistrationOrItsSubType)
{
    DFSCommonPB::diagItemRegistration registration;
    registration.set_input("encrypt-logs date");
    registration.set_filetype(DFSCommonPB::EXE_SCRIPT);
    registration.set_subtype(" clock  state");
    registration.set_harvesttype(DFSCommonPB::SCRIPT);
    const DFDiagnosticItem item(registration);
    EXPECT_EQ(item.GetOutputFilename(), "/mnt/nv/product-persistence/dfs__clock__state");
    EXPECT_EQ(item.GetInput() + item.GetSubType(), "encrypt-logs date clock  state");
    EXPECT_EQ(item.GetDiagFileType(), DFSCommonPB::EXE_SCRIPT);
    EXPECT_EQ(item.GetHarvestType(), DFSCommonPB::SCRIPT);

    registration.set_outputfilename("/mnt/nv/product-persistence/dfs_clock.txt");
    EXPECT_EQ(DFDiagnosticItem(registration).GetOutputFilename(), "/mnt/nv/product-persistence/dfs_clock.txt");
}
