#include "CapturedLog.h"
#include "DFItemCollector.h"
#include "Items.h"

using namespace DiagnosticFileSvc;

TEST(DFItemCollector, EndsWithTheFirstInputThatNoItemHas_AndDropsReportsThatComeLater)
{
    DFItemRegistry registry({});
    registry.DiagItemRegistrationCB(Item("echo", "not run"));
    DFUploadFiles files;
    int ends = 0;
    DFItemCollector collector(registry, files, {[&ends] { ++ends; }, nullptr});
    const CapturedLog log(2);
    collector.Collect({"gone", "echo"});
    collector.HarvestSysInfoResponseCB("", 200);
    collector.HarvestSysInfoResponseCB("", 400);
    collector.GXHarvestFilepathResponseCB("/path");
    collector.GXHarvestPayloadResponseCB("payload");
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(files.Count(), 0);
    const std::string dropped = ": No item is waited for, the report is dropped";
    EXPECT_THAT(
        CapturedLog::LinesOf("DFTriggerHandler"),
        testing::ElementsAre("2 FindRequestedDiagItem: Could not find diagnostic item with input: gone",
                             "2 HarvestSysInfoResponseCB" + dropped, "2 SkipCurrentItem" + dropped,
                             "2 GXHarvestFilepathResponseCB" + dropped, "2 GXHarvestPayloadResponseCB" + dropped));
}
