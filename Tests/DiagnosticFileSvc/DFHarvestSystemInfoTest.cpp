#include "DFHarvestSystemInfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "AnswerProbe.h"
#include "ChildProcess.h"
#include "HttpGlobal.h"
#include "TemporaryFolder.h"
#include "Upload.h"

namespace
{
using DiagnosticFileSvc::DFHarvestSystemInfo;
using Answers = std::vector<AnswerProbe::Answer>;

class ArchiveProbe : public APTask
{
public:
    ArchiveProbe() : APTask("ArchiveProbe", 0, CTask::NOT_REALTIME, -1), callback(this, this, &ArchiveProbe::Take)
    {
        Start();
    }
    ~ArchiveProbe() override { Stop(); }

    std::vector<bool> WaitFor(std::size_t count)
    {
        std::unique_lock lock(m_mutex);
        m_arrived.wait_for(lock, kDeadline, [&] { return m_answers.size() >= count; });
        return m_answers;
    }

    AsyncCallback<bool> callback;

private:
    void Take(bool answer)
    {
        const std::lock_guard lock(m_mutex);
        m_answers.push_back(answer);
        m_arrived.notify_all();
    }
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<bool> m_answers;
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
    EXPECT_EQ(probe.WaitFor(1), std::vector<bool>{true});
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
