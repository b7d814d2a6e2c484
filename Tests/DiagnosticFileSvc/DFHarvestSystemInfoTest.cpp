#include "AnswerProbe.h"
#include "ChildProcess.h"
#include "DFHarvestSystemInfo.h"
#include "HttpGlobal.h"
#include "TemporaryFolder.h"
#include "Upload.h"

#include <gmock/gmock.h>

TEST(DFHarvestSystemInfo, AnswersEachRequestInTurn_AndAnArchiveWithTrue)
{
    const TemporaryFolder folder;
    AnswerProbe first;
    AnswerProbe second;
    CallbackProbe<bool, bool> archive;
    DiagnosticFileSvc::DFHarvestSystemInfo harvester;
    harvester.CollectRequestedInfo("echo before; exit 1", folder.Path() + "/failed", &first.callback);
    harvester.CollectRequestedInfo("test -e " + folder.Path() + "/failed.gz", folder.Path() + "/after",
                                   &second.callback);
    // The target goes to the shell as it stands, so what follows the script shows how that ended.
    harvester.CreateUploadTarball("no-such-file; echo $? >/tmp/status", &archive.callback);
    harvester.Start();
    EXPECT_EQ(second.Next(), Answer("Success message", 200)) << "the first run was over by then";
    EXPECT_EQ(first.Next(), Answer("Development success message", 400));
    EXPECT_TRUE(archive.Next());
    EXPECT_THAT(ReadWholeFile("/tmp/status"), testing::AnyOf("1\n", "2\n"));
}

TEST(DFHarvestSystemInfo, UploadsASiteScanByItself)
{
    Http::InitializeProcess();
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    AnswerProbe probe;
    DiagnosticFileSvc::DFHarvestSystemInfo harvester;
    harvester.Start();
    harvester.CollectWifiSiteScan("echo networks; exit 1", &probe.callback);
    EXPECT_EQ(probe.Next(), Answer("Development failure message", 400));
    harvester.CollectWifiSiteScan("echo networks", &probe.callback);
    EXPECT_EQ(probe.Next().second, 200);
    const auto requests = cloud.Requests();
    ASSERT_EQ(requests.size(), 2U) << "none of the scan that has failed";
    EXPECT_THAT(requests[0].body, testing::HasSubstr(R"([{"type":"WIFI_SITE_SCAN","subType":"wifi site scan"}])"));
    EXPECT_EQ(RunProgram({"gzip", "-dc", requests[1].archivePath}).output, "networks\n");
}
