#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
#include <regex>

#include "Pipeline.h"
#include "ProtoToMarkup.h"
#include "TemporaryFolder.h"

namespace
{
using testing::HasSubstr;

class DiagItemRegistry : public Pipeline
{
protected:
    static DFSCommonPB::diagItemConfigList StoredConfiguration()
    {
        DFSCommonPB::diagItemConfigList list;
        ProtoToMarkup::FromJson(ReadWholeFile(kConfiguration), list);
        return list;
    }

    static constexpr char kConfiguration[] = "/mnt/nv/product-persistence/DFSDiagItemConfigurationFile.json";
};
} // namespace

TEST_F(DiagItemRegistry, FirstStart_WritesTheBuiltInItems)
{
    StartWithRegistry();
    const auto list = StoredConfiguration();
    EXPECT_EQ(list.version(), 1.2);
    std::string items;
    for (const auto& item : list.item()) {
        items += item.subtype() + "|" + DFSCommonPB::DiagFileType_Name(item.filetype()) + "|" +
                 DFSCommonPB::HarvestType_Name(item.harvesttype()) + "|" + item.input() + "|" + item.outputfilename() +
                 "\n";
    }
    // The outputs are full paths, all in the persistence directory.
    items = std::regex_replace(items, std::regex(std::string("\\|") + kPersistence), " > ");
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

TEST_F(DiagItemRegistry, FileOfAnotherVersionOrNone_IsReplaced)
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
        testing::internal::CaptureStderr();
        StartWithRegistry();
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_THAT(log, HasSubstr(std::string("file_version: ") + each.version + "\n"));
        EXPECT_EQ(StoredConfiguration().item_size(), items += 12) << "in one process, the registry grows";
        EXPECT_EQ(StoredConfiguration().version(), 1.2);
        ASSERT_EQ(std::filesystem::exists(rejected), each.isKeptAside);
        if (each.isKeptAside) {
            EXPECT_EQ(ReadWholeFile(rejected), each.content);
            EXPECT_THAT(log, HasSubstr("It is kept as " + rejected));
        }
    }
}

TEST_F(DiagItemRegistry, FileOfTheVersion_IsAllThereIs)
{
    const std::string content =
        R"({"diagItemConfigList":{"item":[)"
        R"({"input":"echo one","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"echo two","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"x","fileType":"TOP","subType":"scan","harvestType":"WIFI_SITE_SCAN_REQ"},)"
        R"({"fileType":"TOP","subType":"long","harvestType":"SCRIPT","input":"echo )" +
        std::string(4092, 'x') +
        R"("},)"
        R"({"input":"/persist/mfg_data.json","fileType":7,"subType":"second","harvestType":1}],"version":1.2}})";
    WriteWholeFile(kConfiguration, content);
    testing::internal::CaptureStderr();
    StartWithRegistry();
    // The gateway may hand its client over again; what is known stays as it is.
    m_handler.SetGatrixClient(nullptr);
    Drain();
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("Unsupported DFSCommonPB::HarvestType"));
    EXPECT_EQ(ReadWholeFile(kConfiguration), content);

    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::UPLOAD_EVERYTHING})).second, 200);
    EXPECT_EQ(LatestUpload(cloud).SubTypes(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(DiagItemRegistry, FileWithoutItems_LeavesTheRegistryEmpty)
{
    WriteWholeFile(kConfiguration, R"({"diagItemConfigList":{"version":1.2}})");
    StartWithRegistry();
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::UPLOAD_EVERYTHING})).first, "Manifest is empty, nothing to upload");
}

TEST_F(DiagItemRegistry, UnreadableFile_IsLeftAlone)
{
    for (const std::string& content : {std::string(), std::string(512 * 1024 + 1, ' ')}) {
        WriteWholeFile(kConfiguration, content);
        testing::internal::CaptureStderr();
        StartWithRegistry();
        EXPECT_THAT(testing::internal::GetCapturedStderr(),
                    HasSubstr("Could not load the diagnostic configuration file file"));
        EXPECT_EQ(ReadWholeFile(kConfiguration), content);
    }
}

TEST_F(DiagItemRegistry, Registration_IsBounded)
{
    StartWithoutItems();
    const std::string longest(4096, 'x');
    testing::internal::CaptureStderr();
    Register(longest, "longest input");
    Register(longest + "x", "input of a byte more");
    Register("true", longest);
    Register({"true\0x", 6}, "input with a NUL");
    Register("true", longest + "x");
    for (int number = 1; number <= 1000; ++number) {
        Register("true", "item " + std::to_string(number));
    }
    Register("true", std::string(65, 'y'));
    Drain();
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* line : {"refused, its input is longer than 4096 bytes, subType: input of a byte more\n",
                             "refused, its output file name is longer than 4096 bytes, subType: xxx",
                             "refused, its input holds a NUL, subType: input with a NUL\n",
                             "refused, the registry is full with 1000 items, subType: item 1000\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
    EXPECT_THAT(log, HasSubstr("items, subType: " + std::string(64, 'y') + "\n"));
    for (const char* taken : {"subType: longest input", "items, subType: item 999\n"}) {
        EXPECT_THAT(log, Not(HasSubstr(taken)));
    }
}

TEST_F(DiagItemRegistry, Registrations_AreBoundedTogether)
{
    StartWithoutItems();
    testing::internal::CaptureStderr();
    // Each has 4,144 bytes of texts: 506 fit into 2 MiB.
    for (int number = 100; number < 620; ++number) {
        Register(std::string(4096, 'x'), "item " + std::to_string(number));
    }
    Drain();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("refused, the registry is full with 506 items, subType: item 606\n"));
}

TEST_F(DiagItemRegistry, Registration_GoesBySubType_AndIsNotStored)
{
    StartWithRegistry();
    const std::string stored = ReadWholeFile(kConfiguration);
    testing::internal::CaptureStderr();
    Register("echo another top", "top");
    Register("encrypt-logs dfs-top.sh", "top again");
    Register("echo", "of no use", DFSCommonPB::EXECUTE_SCRIPT);
    Drain();
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("!!!!!!!!!!!!!!!!!the new diagFileItem already is in the list"));
    EXPECT_THAT(log, HasSubstr("Unsupported DFSCommonPB::HarvestType"));
    EXPECT_EQ(ReadWholeFile(kConfiguration), stored);

    const DiagCloud::CloudServer cloud(CloudOnItsPort());
    EXPECT_EQ(Ask(RequestOf({DFSCommonPB::EXE_SCRIPT})).second, 200);
    // Items are found again by their inputs, so the first of that input is the one that runs.
    EXPECT_EQ(LatestUpload(cloud).SubTypes(), std::vector<std::string>{"top"});
}
