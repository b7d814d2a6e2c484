#include "Pipeline.h"
#include "Sanitized.h"
#include "Shortage.h"
#include "TemporaryFolder.h"

using ShortOfMemory = Pipeline;

TEST_F(ShortOfMemory, EveryRequestIsAnsweredOnce_AndTheNextOneServed)
{
    StartWithRegistry();
    const std::string large(3000, 'x');
    // Has the trigger handler's thread be refused what is as large as that; 0 ends it.
    const auto refuseHandler = [this](std::size_t size) {
        m_handler.Post([size] { Shortage::OfMemory(size); });
        Drain();
    };
    m_handler.DiagItemRegistration({"while [ ! -e /tmp/go ]; do sleep 0.02; done", "dfs_slow", DFSCommonPB::EXE_SCRIPT,
                                    large, DFSCommonPB::SCRIPT});
    DiagCloud::Outcome refusal;
    refusal.status = 404;
    refusal.body = large;
    DiagCloud::CloudServer cloud(CloudOnItsPort({refusal}));
    const Answer internal("Unable to process request, internal error", 400);

    refuseHandler(large.size());
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::USER_SPECIFIED_FILE}, "", "/" + large)), internal) << "at its beginning";
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::PROC_LOADAVG})), internal) << "at its answer, the cloud's large one";

    refuseHandler(0);
    AnswerProbe probe;
    m_handler.UploadDiagFileRequest(RequestOf({DFSCommonPB::EXE_SCRIPT}), &probe.callback);
    refuseHandler(large.size());
    WriteWholeFile("/tmp/go", "");
    EXPECT_EQ(probe.Next(), internal) << "when an item was collected";

    refuseHandler(0);
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::PROC_LOADAVG})).second, 200);
}

TEST(ShortOfThreads, RequestIsAnswered_AndTheUploadClientStartedWhenThereAreThreads)
{
    SKIP_IF_SANITIZED("a sanitizer starts threads its own way");
    // Before there is a handler: its harvester starts the upload client.
    Shortage::OfThreads(true);
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    Http::InitializeProcess();
    auto& handler = DiagnosticFileSvc::DFTriggerHandler::GetInstance();
    handler.SetGatrixClient(nullptr);
    handler.Start();
    handler.SetDeviceInfo({});
    AnswerProbe probe;
    const auto request = RequestOf({DFSCommonPB::PROC_LOADAVG});
    handler.UploadDiagFileRequest(request, &probe.callback);
    EXPECT_EQ(probe.Next(), Answer("Unable to process request, the upload client cannot be started", 400));
    DiagnosticFileSvc::DFHarvestSystemInfo harvester;
    harvester.Start();
    AnswerProbe scanProbe;
    harvester.CollectWifiSiteScan("echo networks", &scanProbe.callback);
    EXPECT_EQ(scanProbe.Next(), Answer("Development failure message", 400));

    Shortage::OfThreads(false);
    handler.UploadDiagFileRequest(request, &probe.callback);
    EXPECT_EQ(probe.Next().second, 200);
}
