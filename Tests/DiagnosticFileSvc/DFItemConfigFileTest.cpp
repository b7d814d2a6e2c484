#include "DFItemConfigFile.h"

#include "Items.h"
#include "ProtoToMarkup.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

namespace
{
using namespace DiagnosticFileSvc;
using testing::HasSubstr;

constexpr char kConfiguration[] = "/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json";

class DFItemConfigFileTest : public testing::Test
{
protected:
    static DFSCommonPB::diagItemConfigList Stored()
    {
        DFSCommonPB::diagItemConfigList list;
        ProtoToMarkup::FromJson(ReadWholeFile(kConfiguration), list);
        return list;
    }

    /** Loads the file; what is logged meanwhile. */
    std::string Load()
    {
        testing::internal::CaptureStderr();
        LoadDiagItemsFromConfigFile(m_registry);
        return testing::internal::GetCapturedStderr();
    }

    DFItemRegistry m_registry{{}};
};
} // namespace

TEST_F(DFItemConfigFileTest, FirstStart_WritesTheBuiltInItems)
{
    Load();
    const auto list = Stored();
    EXPECT_EQ(list.version(), 1.2);
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
    struct stat status
    {};
    ASSERT_EQ(stat(kConfiguration, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(DFItemConfigFileTest, FileOfAnotherVersionOrNone_IsReplaced)
{
    const std::string rejected = std::string(kConfiguration) + ".rejected";
    const struct
    {
        const char* content;
        const char* version;
        bool isKeptAside;
    } cases[] = {
        {R"({"diagItemConfigList":{"item":[],"version":1.1}})", "1.1", false},
        {R"({"diagItemConfigList":{"item":[],"version":1.20000001}})", "1.20000001", false},
        {R"({"version":1.3})", "1.3", false},
        {R"({})", "0", false},
        {R"({"diagItemConfigList":{"item":[{"input":"x"}],"version":1.2}})", "0", true},
        {"garbage", "0", true},
    };
    int items = 0;
    for (const auto& each : cases) {
        SCOPED_TRACE(each.content);
        WriteWholeFile(kConfiguration, each.content);
        std::filesystem::remove(rejected);
        EXPECT_THAT(Load(), HasSubstr(std::string("file_version: ") + each.version + "\n"));
        EXPECT_EQ(Stored().item_size(), items += 12) << "the registry grows";
        EXPECT_EQ(Stored().version(), 1.2);
        ASSERT_EQ(std::filesystem::exists(rejected), each.isKeptAside);
        if (each.isKeptAside) {
            EXPECT_EQ(ReadWholeFile(rejected), each.content);
        }
    }
}

TEST_F(DFItemConfigFileTest, FileOfTheVersion_IsAllThereIs)
{
    const std::string content =
        R"({"diagItemConfigList":{"item":[)"
        R"({"input":"echo one","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"echo two","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"fileType":"TOP","subType":"long","harvestType":"SCRIPT","input":"echo )" +
        std::string(4092, 'x') +
        R"("},)"
        R"({"input":"/persist/mfg_data.json","fileType":7,"subType":"second","harvestType":1}],"version":1.2}})";
    for (const auto& [written, subTypes] : {std::pair(R"({"diagItemConfigList":{"version":1.2}})", SubTypes{}),
                                            {content.c_str(), {"first", "second"}},
                                            {content.c_str(), {"first", "second"}}}) {
        WriteWholeFile(kConfiguration, written);
        Load();
        EXPECT_EQ(SubTypesOf(m_registry), subTypes);
        EXPECT_EQ(ReadWholeFile(kConfiguration), written);
    }
    EXPECT_EQ(m_registry.GetItems()[0]->GetInput(), "echo one");
    EXPECT_EQ(m_registry.GetItems()[1]->GetHarvestType(), DFSCommonPB::EXISTING_FILE);
}

TEST_F(DFItemConfigFileTest, UnreadableFile_IsLeftAlone)
{
    for (const std::string& content : {std::string(), std::string(512 * 1024 + 1, ' ')}) {
        WriteWholeFile(kConfiguration, content);
        EXPECT_THAT(Load(), HasSubstr("Could not load the diagnostic configuration file file"));
        EXPECT_EQ(ReadWholeFile(kConfiguration), content);
    }
    EXPECT_EQ(SubTypesOf(m_registry), SubTypes{});
}
