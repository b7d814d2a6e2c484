#include "Device.h"
#include "TemporaryFolder.h"
#include "Upload.h"

#include <filesystem>
#include <map>

using DiagCloud::CloudServer;
using DiagCloud::Outcome;
using DiagCloud::RequestKind;
using testing::HasSubstr;
using Upload = Device;

namespace
{
/** Has the device been in use, so that every built-in item has something to collect. */
void LayOutUsedDevice()
{
    using Options = std::filesystem::copy_options;
    std::filesystem::copy(USED_DEVICE, "/", Options::recursive | Options::overwrite_existing);
}

constexpr char kPersistence[] = "/mnt/nv/product-persistence";
constexpr char kSucceeded[] = "Upload Request Triggered\nUpload status code = 200\n";
} // namespace

TEST_F(Upload, OfEverything_BringsTheTwelveItems)
{
    LayOutUsedDevice();
    const CloudServer cloud(CloudOnItsPort());
    StartService();
    EXPECT_EQ(Vcli({"upload"}).output, kSucceeded);

    const ArrivedUpload upload = LatestUpload(cloud);
    EXPECT_EQ(upload.SubTypes(),
              (std::vector<std::string>{"logread", "network info", "mfg_data", "proc_loadavg", "memory disk info",
                                        "uptime", "mpstat", "top", "swup_hsm_states", "swup_sys_status",
                                        "swup_release_history", "coredumpfilelist"}));
    const std::multimap<std::string, std::string> contents = {
        {"logread", "AudioRenderer.service: Main process exited"},
        {"network info", "lo"},
        {"mfg_data", "\"productName\""},
        {"proc_loadavg", "/"},
        {"memory disk info", "MemTotal"},
        {"uptime", "==> /proc/uptime <=="},
        {"mpstat", "CPU"},
        {"top", "DiagnosticFileS"},
        {"swup_hsm_states", "Idle -> Checking"},
        {"swup_sys_status", "slot: B"},
        {"swup_release_history", "1.0.67-10452"},
        {"coredumpfilelist", "/data/logs/core.AudioRenderer.1187"},
    };
    for (const auto& [subType, content] : contents) {
        EXPECT_THAT(upload.Content(subType), HasSubstr(content)) << subType;
    }
}

TEST_F(Upload, LeavesSecretsOnTheDevice)
{
    LayOutUsedDevice();
    WriteWholeFile("/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json",
                   R"({"diagItemConfigList":{"version":1.2,"item":[
        {"input":"encrypt-logs dfs-pts-logs.sh","harvestType":"SCRIPT","subType":"logs","fileType":1},
        {"input":"encrypt-logs dfs-wifi-site-scan.sh","harvestType":"SCRIPT","subType":"scan","fileType":3},
        {"input":"encrypt-logs dfs-uptime.sh","harvestType":"SCRIPT","subType":"uptime","fileType":10},
        {"input":"encrypt-logs dfs-top.sh","harvestType":"SCRIPT","subType":"top","fileType":16}]}})");
    std::filesystem::create_directories("/sys/class/net/wlan0/wireless");
    const std::string tool = "/opt/Vantor/bin/iw";
    WriteWholeFile(tool,
                   "#!/bin/sh\ncat <<'OUTPUT'\n"
                   "+ wpa_cli -i wlan0 set_network 0 psk gate-code-77\n"
                   "BSS 00:1b:21:3c:9d:4e(on wlan0) -- associated\n\tSSID: Garden House\nOUTPUT\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    WriteWholeFile("/opt/Vantor/etc/DPrintCfg.json", R"({"threshold":4})");
    const ChildProcess process(
        {"env", "API_TOKEN=tide-table-19", "sh", "-c", "sleep 99; :", "--password=swordfish-7", "hunter2"});

    // What the service itself logs is in the system log by the next upload: its token, and a cloud's answer.
    const std::string token = "-yBFao-02f4jSG2St9wBJg";
    const std::string signature = "fe5f80f77d5f";
    Outcome answer;
    answer.status = 403;
    answer.match = RequestKind::Metadata;
    answer.body =
        R"({"uploadUrl":"http://127.0.0.1:8888/upload?id=7&X-Amz-Signature=)" + signature + R"(","token":"eyJhbGci"})";
    const CloudServer cloud(CloudOnItsPort({answer}));
    StartService();
    Vcli({"upload", "16"});
    const std::string log = "/var/log/messages";
    WriteWholeFile(log, ReadWholeFile(log) + m_service->Output());
    ASSERT_THAT(ReadWholeFile(log), AllOf(HasSubstr(signature), HasSubstr(token)));

    EXPECT_EQ(Vcli({"upload"}).output, kSucceeded);
    const ArrivedUpload upload = LatestUpload(cloud);
    std::string contents;
    for (const std::string& subType : upload.SubTypes()) {
        contents += upload.Content(subType);
    }
    const std::string secrets[] = {
        token,         signature, "eyJhbGci",      "correct-horse-battery", "harbour-lights-42", "gate-code-77",
        "swordfish-7", "hunter2", "tide-table-19", "Garden House",          "3c:9d:4e"};
    for (const std::string& secret : secrets) {
        EXPECT_THAT(contents, Not(HasSubstr(secret)));
    }
    for (const char* shown :
         {"reconfigured, psk=[masked:secret] rc=0", "&X-Amz-Signature=[masked:url]", " wifi.psk=[masked:secret] quiet",
          " sleep\n", "set_network 0 psk [masked:argument]\nBSS 00:1b:21:", "-- associated\n\tSSID: [ssid:"}) {
        EXPECT_THAT(contents, HasSubstr(shown));
    }
}

TEST_F(Upload, KeepsThePersistenceFolderClean_AlsoAfterAKill)
{
    LayOutUsedDevice();
    Outcome hang;
    hang.hang = true;
    const CloudServer cloud(CloudOnItsPort({hang}));
    StartService();
    const auto before = NamesIn(kPersistence);
    {
        const ChildProcess vcli({Program("vcli"), "diagfileservice", "upload", "6"});
        ASSERT_TRUE(cloud.WaitForRequest(1, kDeadline));
    }
    EXPECT_TRUE(std::filesystem::exists("/mnt/nv/product-persistence/dfs_diagfile.tar.gz"));
    m_service.reset();
    StartService();
    EXPECT_EQ(Vcli({"upload", "7"}).output, kSucceeded);
    EXPECT_EQ(NamesIn(kPersistence), before);
}

TEST_F(Upload, AskedForByGatrixPeer_BringsItsItems)
{
    const CloudServer cloud(CloudOnItsPort());
    const ChildProcess gateway({Program("gatrix-gateway")});
    ASSERT_TRUE(gateway.WaitForOutput("8084"));
    StartService();

    const std::string said =
        Peer({"--type", "INTROSPECTION", "--payload", "volume=31\x1b"}, 0, "gatrix-peer: upload answered: 200 ");
    EXPECT_THAT(said, HasSubstr("answers with the payload volume=31\\x1b\n"));
    const ArrivedUpload upload = LatestUpload(cloud);
    EXPECT_EQ(upload.SubTypes(), (std::vector<std::string>{"peer note", "peer state"}));
    EXPECT_EQ(upload.Content("peer note"), "A note that gatrix-peer left on the device.\n");
    EXPECT_THAT(upload.Content("peer state"), HasSubstr(R"({"payloadToUpload":"volume=31\u001b"})"));
    EXPECT_THAT(upload.metadata, HasSubstr("Kitchen")) << "the name that the peer gives the product";

    Peer({"--file", "/proc/uptime", "--type", "TOP", "--type", "LOGREAD"}, 1,
         "upload refused: 400 Custom file upload requires exactly one file type\n");
}

TEST_F(Upload, AskedForByGatrixPeer_GivesUpWithAWordAndAStatus)
{
    Peer({"--timeout", "1"}, 3, ": the gateway or the diagnostic-file service did not come in time\n");
    Peer({"--type", "NONE"}, 2, ": --type: there is no file type 'NONE'; see --help\n");
}
