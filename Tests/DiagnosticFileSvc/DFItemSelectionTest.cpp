#include "DFItemSelection.h"

#include "Items.h"

#include <gmock/gmock.h>

namespace
{
using namespace DFSCommonPB;
using namespace DiagnosticFileSvc;
using Inputs = std::deque<std::string>;
using testing::HasSubstr;

constexpr auto kUndeclared = static_cast<DiagFileType>(50);
} // namespace

TEST(DFItemSelection, TakesTheItemsThatTypesAndSubTypeSelect)
{
    DFItemRegistry registry({});
    registry.DiagItemRegistrationCB(Item("logs", "logread", SCRIPT, LOGREAD));
    registry.DiagItemRegistrationCB(Item("load", "proc_loadavg", EXISTING_FILE, PROC_LOADAVG));
    registry.DiagItemRegistrationCB(Item("more", "a note", GATRIX_RESPONSE_PAYLOAD, LOGREAD));
    const struct
    {
        std::vector<DiagFileType> types;
        const char* subType;
        Inputs inputs;
    } cases[] = {
        {{LOGREAD}, "", {"logs", "more"}},
        {{PROC_LOADAVG, LOGREAD}, "", {"load", "logs", "more"}},
        {{PROC_LOADAVG, PROC_LOADAVG}, "", {"load", "load"}},
        {{UPLOAD_EVERYTHING}, "", {"logs", "load", "more"}},
        {{UPLOAD_EVERYTHING}, "a note", {"more"}},
        {{UPLOAD_EVERYTHING, PROC_LOADAVG}, "", {"load"}},
        {{UPLOAD_EVERYTHING, kUndeclared}, "", {}},
        {{PROC_LOADAVG, kUndeclared}, "", {"load"}},
        {{PROC_LOADAVG}, "proc_Loadavg", {}},
        {{PROC_LOADAVG}, " proc_loadavg", {}},
        {{PROC_STAT}, "", {}},
        {{}, "", {}},
    };
    testing::internal::CaptureStderr();
    for (const auto& each : cases) {
        SCOPED_TRACE(testing::PrintToString(each.types) + " " + each.subType);
        const ItemSelection selection = SelectItems(RequestOf(each.types, each.subType), registry);
        EXPECT_EQ(selection.inputs, each.inputs);
        EXPECT_EQ(selection.refusal, "");
    }
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* line : {"Filtering by subType: a note\n", ": Including diagnostic item with subType: logread\n",
                             ": Filtering out item with subType: logread (requested: a note)\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
}

TEST(DFItemSelection, AddsAnItemForACustomFile)
{
    for (const auto& [asked, subType] : {std::pair("", "custom_file"), {"trace of Tuesday", "trace of Tuesday"}}) {
        DFItemRegistry registry({});
        EXPECT_EQ(SelectItems(CustomRequestOf("/a/c.log", {INTROSPECTION}, asked), registry).inputs,
                  Inputs{"/a/c.log"});
        const DFDiagnosticItem& item = *registry.GetItems().at(0);
        EXPECT_EQ(item.GetSubType(), subType);
        EXPECT_EQ(item.GetDiagFileType(), INTROSPECTION);
        EXPECT_EQ(item.GetHarvestType(), EXISTING_FILE);
    }
}

TEST(DFItemSelection, RefusesWhatIsTooMuch)
{
    const std::string longest(4096, 'x');
    const std::vector<DiagFileType> most(100, PROC_STAT);
    std::vector<DiagFileType> tooMany = most;
    tooMany.push_back(kUndeclared);
    const struct
    {
        UploadRequest request;
        const char* refusal;
    } cases[] = {
        {CustomRequestOf("/a", {}), "Custom file upload requires exactly one file type"},
        {CustomRequestOf("/a", {TOP, LOGREAD}), "Custom file upload requires exactly one file type"},
        {CustomRequestOf({"/a\0x", 4}, {TOP}), "Upload request's fileToUpload holds a NUL"},
        {CustomRequestOf(longest + "x", {TOP}), "Upload request's fileToUpload is longer than 4096 bytes"},
        {CustomRequestOf(longest, {TOP}), ""},
        {RequestOf({TOP}, longest + "x"), "Upload request's subType is longer than 4096 bytes"},
        {RequestOf({TOP}, longest), ""},
        {RequestOf(most), ""},
        {RequestOf(tooMany), "Upload request names more than 100 file types"},
    };
    DFItemRegistry registry({});
    for (const auto& each : cases) {
        EXPECT_EQ(SelectItems(each.request, registry).refusal, each.refusal);
    }
}
