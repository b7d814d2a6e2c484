#include <gmock/gmock.h>
#include <sys/stat.h>

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
        items += item.subtype() + " " + DFSCommonPB::DiagFileType_Name(item.filetype()) + " " +
                 DFSCommonPB::HarvestType_Name(item.harvesttype()) + "\n";
    }
    EXPECT_EQ(items,
              "logread LOGREAD SCRIPT\n"
              "network info NETWORKING_INFO SCRIPT\n"
              "mfg_data PERSIST_MFGDATA EXISTING_FILE\n"
              "proc_loadavg PROC_LOADAVG EXISTING_FILE\n"
              "memory disk info DISK_FREE_INFO SCRIPT\n"
              "uptime PROC_UPTIME SCRIPT\n"
              "mpstat MPSTAT SCRIPT\n"
              "top TOP SCRIPT\n"
              "swup_hsm_states SWUP_HSM_STATES EXISTING_FILE\n"
              "swup_sys_status SWUP_SYS_STATUS EXISTING_FILE\n"
              "swup_release_history SWUP_RELEASE_HISTORY EXISTING_FILE\n"
              "coredumpfilelist CORE_DUMP_FILE_LIST SCRIPT\n");
    struct stat status
    {};
    ASSERT_EQ(stat(kConfiguration, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(DiagItemRegistry, FileOfAnotherVersionOrNone_IsReplaced)
{
    for (const char* content : {R"({"diagItemConfigList":{"item":[],"version":1.1}})", R"({"version":1.3})", R"({})",
                                R"({"diagItemConfigList":{"item":[{"input":"x"}],"version":1.2}})", "garbage"}) {
        SCOPED_TRACE(content);
        WriteWholeFile(kConfiguration, content);
        StartWithRegistry();
        EXPECT_GE(StoredConfiguration().item_size(), 12);
        EXPECT_EQ(StoredConfiguration().version(), 1.2);
    }
}

TEST_F(DiagItemRegistry, FileOfTheVersion_IsAllThereIs)
{
    const std::string content =
        R"({"diagItemConfigList":{"item":[)"
        R"({"input":"echo one","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"echo two","fileType":"TOP","subType":"first","harvestType":"SCRIPT"},)"
        R"({"input":"x","fileType":"TOP","subType":"scan","harvestType":"WIFI_SITE_SCAN_REQ"},)"
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
    WriteWholeFile(kConfiguration, "");
    testing::internal::CaptureStderr();
    StartWithRegistry();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("Could not load the diagnostic configuration file file"));
    EXPECT_EQ(ReadWholeFile(kConfiguration), "");
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
