#include "DFHarvestSystemInfo.h"

#include "AnswerProbe.h"
#include "ChildProcess.h"
#include "HttpGlobal.h"
#include "TemporaryFolder.h"
#include "Upload.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <future>

namespace
{
using DiagnosticFileSvc::DFHarvestSystemInfo;
using Answers = std::vector<AnswerProbe::Answer>;

class ArchiveProbe : public APTask
{
public:
    ArchiveProbe() : APTask("ArchiveProbe", 0, CTask::NOT_REALTIME, -1) { Start(); }
    ~ArchiveProbe() override { Stop(); }

    void Take(bool isPacked) { answer.set_value(isPacked); }

    std::promise<bool> answer;
    AsyncCallback<bool> callback{this, this, &ArchiveProbe::Take};
};
} // namespace

TEST(DFHarvestSystemInfo, AnswersEachCollectionInTurn)
{
    const TemporaryFolder folder;
    AnswerProbe first;
    AnswerProbe second;
    DFHarvestSystemInfo harvester;
    harvester.CollectRequestedInfo("echo before; exit 1", folder.Path() + "/failed", &first.callback);
    harvester.CollectRequestedInfo("test -e " + folder.Path() + "/failed.gz", folder.Path() + "/after",
                                   &second.callback);
    harvester.Start();
    EXPECT_EQ(second.WaitFor(1), (Answers{{"Success message", 200}})) << "the first run was over by then";
    EXPECT_EQ(first.WaitFor(1), (Answers{{"Development success message", 400}}));
    EXPECT_TRUE(std::filesystem::exists(folder.Path() + "/failed.gz"));
}

TEST(DFHarvestSystemInfo, AnswersAnArchiveWithTrue_EvenWhenTheScriptFails)
{
    ArchiveProbe probe;
    DFHarvestSystemInfo harvester;
    harvester.Start();
    // The target goes to the shell as it stands, so what follows the script shows how that ended.
    harvester.CreateUploadTarball("no-such-file; echo $? >/tmp/status", &probe.callback);
    EXPECT_TRUE(probe.answer.get_future().get());
    EXPECT_THAT(ReadWholeFile("/tmp/status"), testing::AnyOf("1\n", "2\n"));
}

TEST(DFHarvestSystemInfo, UploadsASiteScanByItself)
{
    Http::InitializeProcess();
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    AnswerProbe probe;
    DFHarvestSystemInfo harvester;
    harvester.Start();
    harvester.CollectWifiSiteScan("echo networks; exit 1", &probe.callback);
    EXPECT_EQ(probe.WaitFor(1), (Answers{{"Development failure message", 400}}));
    EXPECT_TRUE(cloud.Requests().empty());

    harvester.CollectWifiSiteScan("echo networks", &probe.callback);
    const Answers answers = probe.WaitFor(2);
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[1].second, 200) << answers[1].first;
    const auto requests = cloud.Requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_THAT(requests[0].body, testing::HasSubstr(R"([{"type":"WIFI_SITE_SCAN","subType":"wifi site scan"}])"));
    EXPECT_EQ(RunProgram({"gzip", "-dc", requests[1].archivePath}).output, "networks\n");
}
