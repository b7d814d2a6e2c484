#include "DFItemRegistry.h"
#include "Items.h"

#include <gmock/gmock.h>

using namespace DiagnosticFileSvc;
using testing::HasSubstr;

TEST(DFItemRegistry, TakesTheHarvestTypesThatAreServed)
{
    using namespace DFSCommonPB;
    DFItemRegistry registry({});
    testing::internal::CaptureStderr();
    for (const auto type : {SCRIPT, EXISTING_FILE, WIFI_SITE_SCAN_REQ, GATRIX_RESPONSE_PAYLOAD,
                            GATRIX_RESPONSE_FILEPATH, EXECUTE_SCRIPT}) {
        registry.DiagItemRegistrationCB(Item("input", HarvestType_Name(type), type));
    }
    const SubTypes served = {"SCRIPT", "EXISTING_FILE", "GATRIX_RESPONSE_PAYLOAD", "GATRIX_RESPONSE_FILEPATH"};
    EXPECT_EQ(SubTypesOf(registry), served);
    const std::string log = testing::internal::GetCapturedStderr();
    for (const std::string& type : served) {
        EXPECT_THAT(log, HasSubstr("DFSCommonPB::HarvestType::" + type + "\n"));
    }
    EXPECT_THAT(log, HasSubstr("Unsupported DFSCommonPB::HarvestType\n"));
}

TEST(DFItemRegistry, GoesBySubType_AndFindsByInput)
{
    DFItemRegistry registry({});
    testing::internal::CaptureStderr();
    for (const char* subType : {"top", "top", "top again", "Top"}) {
        registry.DiagItemRegistrationCB(Item("encrypt-logs dfs-top.sh", subType));
    }
    registry.AddCustomItem("/tmp/c.log", DFSCommonPB::TOP, "top");
    registry.DiagItemRegistrationCB(Item("/tmp/c.log", "later"));
    EXPECT_EQ(SubTypesOf(registry), (SubTypes{"top", "top again", "Top", "top", "later"}));
    EXPECT_EQ(registry.Find("encrypt-logs dfs-top.sh"), registry.GetItems()[0].get());
    EXPECT_EQ(registry.Find("/tmp/c.log")->GetOutputFilename(), "dfs_custom_c.log");

    registry.RemoveCustomItems();
    EXPECT_EQ(SubTypesOf(registry), (SubTypes{"top", "top again", "Top", "later"}));
    EXPECT_EQ(registry.Find("echo"), nullptr);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_THAT(log, HasSubstr("!!!!!!!!!!!!!!!!!the new diagFileItem already is in the list"));
    EXPECT_THAT(log, HasSubstr("Removing temporary custom file diagnostic item with subType: top\n"));
}

TEST(DFItemRegistry, IsBounded)
{
    DFItemRegistry registry({});
    testing::internal::CaptureStderr();
    const std::string longest(4096, 'x');
    registry.DiagItemRegistrationCB(Item(longest, "longest input"));
    registry.DiagItemRegistrationCB(Item(longest + "x", "input of a byte more"));
    registry.DiagItemRegistrationCB(Item("true", longest));
    registry.DiagItemRegistrationCB(Item({"true\0x", 6}, "input with a NUL"));
    for (int number = 1; number <= 1000; ++number) {
        registry.DiagItemRegistrationCB(Item("true", "item " + std::to_string(number)));
    }
    registry.DiagItemRegistrationCB(Item("true", std::string(65, 'y')));
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* line : {"refused, its input is longer than 4096 bytes, subType: input of a byte more\n",
                             "refused, its output file name is longer than 4096 bytes, subType: xxx",
                             "refused, its input holds a NUL, subType: input with a NUL\n",
                             "refused, the registry is full with 1000 items, subType: item 1000\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
    EXPECT_THAT(log, HasSubstr("items, subType: " + std::string(64, 'y') + "\n"));
    const SubTypes taken = SubTypesOf(registry);
    ASSERT_EQ(taken.size(), 1000U);
    EXPECT_EQ(taken.front(), "longest input");
    EXPECT_EQ(taken.back(), "item 999");

    // Each has 4,144 bytes of texts: 506 fit into 2 MiB.
    DFItemRegistry large({});
    for (int number = 100; number < 620; ++number) {
        large.DiagItemRegistrationCB(Item(longest, "item " + std::to_string(number)));
    }
    EXPECT_EQ(SubTypesOf(large).back(), "item 605");
}
