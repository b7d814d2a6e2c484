#include "DFItemConfigFile.h"
#include "Items.h"
#include "ProtoToMarkup.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

using namespace DiagnosticFileSvc;

constexpr char kConfiguration[] = "/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json";

static DFSCommonPB::diagItemConfigList Stored()
{
    DFSCommonPB::diagItemConfigList list;
    ProtoToMarkup::FromJson(ReadWholeFile(kConfiguration), list);
    EXPECT_EQ(list.version(), 1.2);
    return list;
}

TEST(DFItemConfigFile, FirstStart_WritesTheBuiltInItems)
{
    DFItemRegistry registry({});
    LoadDiagItemsFromConfigFile(registry);
    const auto list = Stored();
    std::string items = "\n";
    for (const auto& item : list.item()) {
        items += item.subtype() + "|" + DFSCommonPB::DiagFileType_Name(item.filetype()) + "|" +
                 DFSCommonPB::HarvestType_Name(item.harvesttype()) + "|" + item.input() + "|" + item.outputfilename() +
                 "\n";
    }
    // The outputs are full paths, all in the persistence directory.
    EXPECT_EQ(StringUtils::FindReplace(items, "|/mnt/nv/product-persistence/dfs_", " > "), R"(
logread|LOGREAD|SCRIPT|encrypt-logs dfs-pts-logs.sh > logread.txt
network info|NETWORKING_INFO|SCRIPT|encrypt-logs dfs-networking-info.sh > networkinginfo.txt
mfg_data|PERSIST_MFGDATA|EXISTING_FILE|/persist/mfg_data.json > mfg_data.json
proc_loadavg|PROC_LOADAVG|EXISTING_FILE|/proc/loadavg > proc_loadavg.txt
memory disk info|DISK_FREE_INFO|SCRIPT|encrypt-logs dfs-memory-disk.sh > memory_disk.txt
uptime|PROC_UPTIME|SCRIPT|encrypt-logs dfs-uptime.sh > uptime.txt
mpstat|MPSTAT|SCRIPT|encrypt-logs dfs-mpstat.sh > mpstat.txt
top|TOP|SCRIPT|encrypt-logs dfs-top.sh > top.txt
swup_hsm_states|SWUP_HSM_STATES|EXISTING_FILE|/mnt/nv/update/SwUpHsmStates.txt > SwUpHsmStates.json
swup_sys_status|SWUP_SYS_STATUS|EXISTING_FILE|/mnt/nv/update/SwUpSystemStatus.txt > SwUpSystemStatus.json
swup_release_history|SWUP_RELEASE_HISTORY|EXISTING_FILE|/mnt/nv/update/SwUpReleaseHistory.txt > SwUpReleaseHistory.json
coredumpfilelist|CORE_DUMP_FILE_LIST|SCRIPT|encrypt-logs ls -la /data/logs/core* > coredump_filelist.txt
)");
    EXPECT_EQ(std::filesystem::status(kConfiguration).permissions(), std::filesystem::perms(0600));

    std::filesystem::remove(kConfiguration);
    LoadDiagItemsFromConfigFile(registry);
    EXPECT_EQ(Stored().item_size(), 24) << "built-in items are not compared with those that are there";
}

TEST(DFItemConfigFile, IsAllThereIs_OrReplacedByTheBuiltInItems)
{
    const std::string items =
        R"({"diagItemConfigList":{"item":[)"
        R"({"input":"echo one","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"echo two","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"fileType":"TOP","subType":"long","harvestType":"SCRIPT","input":"echo )" +
        std::string(4092, 'x') +
        R"("},)"
        R"({"input":"/persist/mfg_data.json","fileType":7,"subType":"second","harvestType":1}],"version":1.2}})";
    const auto expect = [](const std::string& content, std::size_t registered, const std::string& line) {
        SCOPED_TRACE(line);
        WriteWholeFile(kConfiguration, content);
        DFItemRegistry registry({});
        testing::internal::CaptureStderr();
        LoadDiagItemsFromConfigFile(registry);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(line));
        EXPECT_EQ(registry.GetItems().size(), registered);
        if (registered == 12) {
            EXPECT_EQ(Stored().item_size(), 12);
        } else {
            EXPECT_EQ(ReadWholeFile(kConfiguration), content);
        }
    };
    expect(R"({"diagItemConfigList":{"item":[],"version":1.20000001}})", 12, "file_version: 1.20000001\n");
    expect(R"({"diagItemConfigList":{"version":1.2}})", 0, "file_version: 1.2\n");
    expect(items, 2, "already is in the list\n");
    expect("", 0, "Could not load the diagnostic configuration file file\n");
    expect(std::string(512 * 1024 + 1, ' '), 0, "Could not load the diagnostic configuration file file\n");
    const std::string aside = std::string(kConfiguration) + ".rejected";
    EXPECT_FALSE(std::filesystem::exists(aside));
    const std::string damaged = R"({"diagItemConfigList":{"item":[{"input":"x"}],"version":1.2}})";
    expect(damaged, 12, "file_version: 0\n");
    EXPECT_EQ(ReadWholeFile(aside), damaged);
}
