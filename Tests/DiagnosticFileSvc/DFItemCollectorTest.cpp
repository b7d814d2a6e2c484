#include "DFItemCollector.h"

#include "Items.h"

#include <gmock/gmock.h>

using namespace DiagnosticFileSvc;

TEST(DFItemCollector, EndsWithTheFirstInputThatNoItemHas)
{
    DFItemRegistry registry({});
    registry.DiagItemRegistrationCB(Item("echo", "not run"));
    DFUploadFiles files;
    int ends = 0;
    DFItemCollector collector(registry, files, {[&ends] { ++ends; }, nullptr});
    testing::internal::CaptureStderr();
    collector.Collect({"gone", "echo"});
    EXPECT_EQ(ends, 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr(" 2 DFTriggerHandler: FindRequestedDiagItem: Could not find diagnostic item with "
                                   "input: gone\n"));
}
