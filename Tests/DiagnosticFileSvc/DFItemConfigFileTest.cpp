#include "DFItemConfigFile.h"
#include "Items.h"
#include "ProtoToMarkup.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <regex>

namespace
{
using namespace DiagnosticFileSvc;

constexpr char kConfiguration[] = "/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json";

DFSCommonPB::diagItemConfigList Stored()
{
    DFSCommonPB::diagItemConfigList list;
    ProtoToMarkup::FromJson(ReadWholeFile(kConfiguration), list);
    EXPECT_EQ(list.version(), 1.2);
    return list;
}
} // namespace

TEST(DFItemConfigFile, FirstStart_WritesTheBuiltInItems)
{
    DFItemRegistry registry({});
    LoadDiagItemsFromConfigFile(registry);
    const auto list = Stored();
    std::string items;
    for (const auto& item : list.item()) {
        items += item.subtype() + "|" + DFSCommonPB::DiagFileType_Name(item.filetype()) + "|" +
                 DFSCommonPB::HarvestType_Name(item.harvesttype()) + "|" + item.input() + "|" + item.outputfilename() +
                 "\n";
    }
    // The outputs are full paths, all in the persistence directory.
    items = std::regex_replace(items, std::regex("\\|/mnt/nv/product-persistence/"), " > ");
    EXPECT_EQ(items,
              "logread|LOGREAD|SCRIPT|encrypt-logs dfs-pts-logs.sh > dfs_logread.txt\n"
              "network info|NETWORKING_INFO|SCRIPT|encrypt-logs dfs-networking-info.sh > dfs_networkinginfo.txt\n"
              "mfg_data|PERSIST_MFGDATA|EXISTING_FILE|/persist/mfg_data.json > dfs_mfg_data.json\n"
              "proc_loadavg|PROC_LOADAVG|EXISTING_FILE|/proc/loadavg > dfs_proc_loadavg.txt\n"
              "memory disk info|DISK_FREE_INFO|SCRIPT|encrypt-logs dfs-memory-disk.sh > dfs_memory_disk.txt\n"
              "uptime|PROC_UPTIME|SCRIPT|encrypt-logs dfs-uptime.sh > dfs_uptime.txt\n"
              "mpstat|MPSTAT|SCRIPT|encrypt-logs dfs-mpstat.sh > dfs_mpstat.txt\n"
              "top|TOP|SCRIPT|encrypt-logs dfs-top.sh > dfs_top.txt\n"
              "swup_hsm_states|SWUP_HSM_STATES|EXISTING_FILE|/mnt/nv/update/SwUpHsmStates.txt > "
              "dfs_SwUpHsmStates.json\n"
              "swup_sys_status|SWUP_SYS_STATUS|EXISTING_FILE|/mnt/nv/update/SwUpSystemStatus.txt > "
              "dfs_SwUpSystemStatus.json\n"
              "swup_release_history|SWUP_RELEASE_HISTORY|EXISTING_FILE|/mnt/nv/update/SwUpReleaseHistory.txt > "
              "dfs_SwUpReleaseHistory.json\n"
              "coredumpfilelist|CORE_DUMP_FILE_LIST|SCRIPT|encrypt-logs ls -la /data/logs/core* > "
              "dfs_coredump_filelist.txt\n");
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
    const struct
    {
        std::string content;
        const char* line;
        std::size_t registered;
        bool isKeptAside = false;
    } cases[] = {
        {R"({"diagItemConfigList":{"item":[],"version":1.20000001}})", "file_version: 1.20000001\n", 12},
        {R"({"version":1.3})", "file_version: 1.3\n", 12},
        {R"({"diagItemConfigList":{"item":[{"input":"x"}],"version":1.2}})", "file_version: 0\n", 12, true},
        {R"({"diagItemConfigList":{"version":1.2}})", "file_version: 1.2\n", 0},
        {items, "already is in the list\n", 2},
        {"", "Could not load the diagnostic configuration file file\n", 0},
        {std::string(512 * 1024 + 1, ' '), "Could not load the diagnostic configuration file file\n", 0},
    };
    const std::string aside = std::string(kConfiguration) + ".rejected";
    for (const auto& each : cases) {
        SCOPED_TRACE(each.content.substr(0, 70));
        WriteWholeFile(kConfiguration, each.content);
        std::filesystem::remove(aside);
        DFItemRegistry registry({});
        testing::internal::CaptureStderr();
        LoadDiagItemsFromConfigFile(registry);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(each.line));
        EXPECT_EQ(registry.GetItems().size(), each.registered);
        if (each.registered == 12) {
            EXPECT_EQ(Stored().item_size(), 12);
        } else {
            EXPECT_EQ(ReadWholeFile(kConfiguration), each.content);
        }
        ASSERT_EQ(std::filesystem::exists(aside), each.isKeptAside);
        EXPECT_TRUE(!each.isKeptAside || ReadWholeFile(aside) == each.content);
    }
}
