#include "Device.h"
#include "Upload.h"

#include <gmock/gmock.h>

using Peer = Device;
using testing::HasSubstr;

static Finished RunPeer(std::vector<std::string> words)
{
    words.insert(words.begin(), Program("gatrix-peer"));
    return RunProgram(words);
}

TEST_F(Peer, RegistersItsItems_AndTellsWhatBecameOfItsUpload)
{
    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    const ChildProcess gateway({Program("gatrix-gateway")});
    ASSERT_TRUE(gateway.WaitForOutput("8084"));
    StartService();

    const Finished uploaded = RunPeer({"--type", "INTROSPECTION", "--payload", "volume=31\x1b"});
    EXPECT_EQ(uploaded.status, 0) << uploaded.output;
    EXPECT_THAT(uploaded.output, HasSubstr("gatrix-peer: upload answered: 200 "));
    const ArrivedUpload upload = LatestUpload(cloud);
    EXPECT_EQ(upload.SubTypes(), (std::vector<std::string>{"peer note", "peer state"}));
    EXPECT_EQ(upload.Content("peer note"), "A note that gatrix-peer left on the device.\n");
    EXPECT_THAT(upload.Content("peer state"), HasSubstr(R"({"payloadToUpload":"volume=31\u001b"})"));
    EXPECT_THAT(uploaded.output, HasSubstr("answers with the payload volume=31\\x1b\n"));
    EXPECT_THAT(upload.metadata, HasSubstr("Kitchen")) << "the name that the peer gives the product";

    const Finished refused = RunPeer({"--file", "/proc/uptime", "--type", "TOP", "--type", "LOGREAD"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, HasSubstr("upload refused: 400 Custom file upload requires exactly one file type\n"));
}

TEST_F(Peer, GivesUp_WithAWordAndAStatus)
{
    const Finished late = RunPeer({"--timeout", "1"});
    EXPECT_EQ(late.status, 3);
    EXPECT_THAT(late.output, HasSubstr(": the gateway or the diagnostic-file service did not come in time\n"));
    const Finished wrong = RunPeer({"--type", "NONE"});
    EXPECT_EQ(wrong.status, 2);
    EXPECT_THAT(wrong.output, HasSubstr(": --type: there is no file type 'NONE'; see --help\n"));
}
