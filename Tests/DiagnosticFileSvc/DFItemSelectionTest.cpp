#include "DFItemSelection.h"
#include "Items.h"

#include <gmock/gmock.h>

using namespace DFSCommonPB;
using namespace DiagnosticFileSvc;
using Inputs = std::deque<std::string>;
using testing::HasSubstr;

constexpr auto kUndeclared = static_cast<DiagFileType>(50);

TEST(DFItemSelection, GoesByTypesAndSubType_OrAddsACustomFile)
{
    DFItemRegistry registry({});
    registry.DiagItemRegistrationCB(Item("logs", "logread", SCRIPT, LOGREAD));
    registry.DiagItemRegistrationCB(Item("load", "proc_loadavg", EXISTING_FILE, PROC_LOADAVG));
    registry.DiagItemRegistrationCB(Item("more", "a note", GATRIX_RESPONSE_PAYLOAD, LOGREAD));
    const std::string longest(4096, 'x');
    const std::vector<DiagFileType> most(100, PROC_STAT);
    std::vector<DiagFileType> tooMany = most;
    tooMany.push_back(kUndeclared);
    const auto expect = [&](const UploadRequest& request, const Inputs& inputs, const std::string& refusal = "") {
        const ItemSelection selection = SelectItems(request, registry);
        EXPECT_EQ(selection.inputs, inputs) << request.DebugString();
        EXPECT_EQ(selection.refusal, refusal);
    };
    testing::internal::CaptureStderr();
    expect(RequestOf({PROC_LOADAVG, LOGREAD}), {"load", "logs", "more"});
    expect(RequestOf({PROC_LOADAVG, PROC_LOADAVG}), {"load", "load"});
    expect(RequestOf({UPLOAD_EVERYTHING}), {"logs", "load", "more"});
    expect(RequestOf({UPLOAD_EVERYTHING}, "a note"), {"more"});
    expect(RequestOf({UPLOAD_EVERYTHING, PROC_LOADAVG}), {"load"});
    expect(RequestOf({UPLOAD_EVERYTHING, kUndeclared}), {});
    expect(RequestOf({PROC_LOADAVG}, "proc_Loadavg"), {});
    expect(RequestOf({}), {});
    expect(RequestOf({TOP}, longest + "x"), {}, "Upload request's subType is longer than 4096 bytes");
    expect(RequestOf(most), {});
    expect(RequestOf(tooMany), {}, "Upload request names more than 100 file types");
    expect(RequestOf({}, "", "/a/c.log"), {}, "Custom file upload requires exactly one file type");
    expect(RequestOf({TOP, LOGREAD}, "", "/a/c.log"), {}, "Custom file upload requires exactly one file type");
    expect(RequestOf({TOP}, "", {"/a\0x", 4}), {}, "Upload request's fileToUpload holds a NUL");
    expect(RequestOf({TOP}, "", longest), {longest});
    expect(RequestOf({INTROSPECTION}, "trace", "/a/c.log"), {"/a/c.log"});
    const std::string log = testing::internal::GetCapturedStderr();
    for (const char* line : {"Filtering by subType: a note\n", ": Including diagnostic item with subType: logread\n",
                             ": Filtering out item with subType: logread (requested: a note)\n"}) {
        EXPECT_THAT(log, HasSubstr(line));
    }
    EXPECT_EQ(SubTypesOf(registry), (SubTypes{"logread", "proc_loadavg", "a note", "custom_file", "trace"}));
    const DFDiagnosticItem& custom = *registry.GetItems().back();
    EXPECT_EQ(custom.GetDiagFileType(), INTROSPECTION);
    EXPECT_EQ(custom.GetHarvestType(), EXISTING_FILE);
}
