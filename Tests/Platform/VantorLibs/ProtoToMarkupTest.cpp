#include "ProtoToMarkup.h"
#include "Texts.h"
#include "UploadSysInfo.pb.h"

#include <gmock/gmock.h>

using namespace DFSCommonPB;
using namespace testing; // NOLINT(google-build-using-namespace): its matchers
using MarkupError = ProtoToMarkup::MarkupError;

static UploadManifest SampleManifest()
{
    UploadManifest manifest;
    ManifestItem* const item = manifest.add_item();
    item->set_filename("dfs_top.txt");
    item->set_type(TOP);
    item->set_subtype("a \"b\"\n\xc3\xa9");
    manifest.set_version(1.2);
    return manifest;
}

TEST(ProtoToMarkup, EveryForm_IsWrittenAsDeclaredAndReadAgain)
{
    const UploadManifest manifest = SampleManifest();
    EXPECT_EQ(ProtoToMarkup::ToJson(manifest), R"({"UploadManifest":{"item":[{"filename":"dfs_top.txt","type":"TOP",)"
                                               "\"subType\":\"a \\\"b\\\"\\n\xc3\xa9\"}],\"version\":1.2}}");
    EXPECT_EQ(ProtoToMarkup::ToJson(UploadTypes(), true, true, false), "{\n \"UploadTypes\": {}\n}\n");
    EXPECT_EQ(ProtoToMarkup::ToJson(FeatureFlagConfigMsg(), false, false, false), "{}");
    EXPECT_EQ(ProtoToMarkup::ToJson(FeatureFlagConfigMsg(), false, false, true), R"({"upload_enabled":false})");
    for (unsigned form = 0; form < 8; ++form) {
        const bool indented = (form & 1U) != 0;
        const std::string json = ProtoToMarkup::ToJson(manifest, (form & 2U) != 0, indented, (form & 4U) != 0);
        EXPECT_EQ(json.find('\n') != std::string::npos, indented);
        UploadManifest back;
        ProtoToMarkup::FromJson(json, back);
        EXPECT_EQ(back.SerializeAsString(), manifest.SerializeAsString()) << json;
    }
}

TEST(ProtoToMarkup, ToJsonOfAMessageThatIsNotComplete_NamesTheField)
{
    UploadManifest manifest = SampleManifest();
    manifest.add_item()->set_filename("x");
    testing::internal::CaptureStderr();
    EXPECT_EQ(ErrorOf<MarkupError>([&] { ProtoToMarkup::ToJson(manifest); }),
              "UploadManifest: item[1].type: the required field is missing");
    manifest.mutable_item()->RemoveLast();
    manifest.mutable_item(0)->set_subtype("caf\xe9");
    EXPECT_EQ(ErrorOf<MarkupError>([&] { ProtoToMarkup::ToJson(manifest); }),
              "UploadManifest: item[0].subType: the text is not UTF-8");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProtoToMarkup, FromJson_ReplacesWhatTheMessageHeldAndKeepsUndeclaredNumbersAside)
{
    UploadRequest request;
    request.set_subtype("old");
    request.add_filetype(TOP);
    ProtoToMarkup::FromJson(
        R"( {"UploadRequest": {"fileType":["LOGREAD",42,9,43], "later":{"x":[1]}, "version":null} } )", request);
    const std::string json = ProtoToMarkup::ToJson(request, false);
    EXPECT_EQ(json, R"({"fileType":["LOGREAD","DISK_FREE_INFO",42,43]})");
    UploadRequest back;
    ProtoToMarkup::FromJson(json, back);
    EXPECT_EQ(back.SerializeAsString(), request.SerializeAsString());

    // In a nested message; of a field that is no list, the declared value stays.
    UploadManifest manifest = SampleManifest();
    manifest.mutable_item(0)->mutable_unknown_fields()->AddVarint(ManifestItem::kTypeFieldNumber, 42);
    EXPECT_EQ(ProtoToMarkup::ToJson(manifest), ProtoToMarkup::ToJson(SampleManifest()));
}

TEST(ProtoToMarkup, RootOfAnotherName_IsExpectedAndQuoted)
{
    UploadTypeItem item;
    ProtoToMarkup::FromJson(R"({"Stored":{"type":"TOP","subType":"a"}})", item, "Stored");
    EXPECT_EQ(item.subtype(), "a");
    const auto read = [&item] { ProtoToMarkup::FromJson(R"({"UploadTypeItem":{"type":1}})", item, "Stored"); };
    EXPECT_EQ(ErrorOf<MarkupError>(read), "Stored: type: the required field is missing");
    EXPECT_EQ(item.subtype(), "a");
}

TEST(ProtoToMarkup, WrongText_IsRefusedWithThePlaceAndTheMessageKept)
{
    const std::string item = R"({"input":"a","fileType":"TOP","subType":"s","harvestType":0})";
    const std::pair<std::string, std::string> cases[] = {
        {"{", "not JSON: "},
        {"[]", "an object is expected"},
        {R"({"version":"abc"})", "version"},
        {R"({"item":[)" + item + R"(,{"input":"a","fileType":"TOP","harvestType":0}]})",
         "item[1].subType: the required field is missing"},
        {R"({"item":[{"input":"a","fileType":"NOPE","subType":"s","harvestType":0}]})",
         "item[0].fileType: 'NOPE' is no DiagFileType"},
        {R"({"item":[{"input":["a"],"fileType":"TOP","subType":"s","harvestType":0}]})",
         "item[0].input: a plain value"},
        {R"({"item":[{"input":"a","fileType":1.5,"subType":"s","harvestType":0}]})", "item[0].fileType"},
        {R"({"item":)" + item + "}", "item: a list is expected"},
        {R"({"item":[null]})", "item[0]: an object is expected"},
        {R"({"item":[{"input":"a","fileType":50,"subType":"s","harvestType":0}]})",
         "fileType: the required field holds no"},
        {R"({"diagItemConfigList":{},"version":1})", "beside the root"},
        {R"({"diagItemConfigList":{"diagItemConfigList":{}}})", "root under the root"},
        {R"({"diagItemConfigList":[]})", "under the root"},
        {R"({"version":")" + std::string(100000, 'x') + R"("})", "version"},
    };
    for (const auto& [text, reason] : cases) {
        diagItemConfigList list;
        list.set_version(7);
        testing::internal::CaptureStderr();
        const std::string error = ErrorOf<MarkupError>([&text = text, &list] { ProtoToMarkup::FromJson(text, list); });
        EXPECT_THAT(error, AllOf(StartsWith("diagItemConfigList: "), HasSubstr(reason), Not(HasSubstr("\n"))))
            << text.substr(0, 100);
        EXPECT_LT(error.size(), 500U);
        EXPECT_EQ(list.version(), 7);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    const std::string both = R"({"upload_enabled":true,"uploadEnabled":true})";
    FeatureFlagConfigMsg flag;
    EXPECT_EQ(ErrorOf<MarkupError>([&] { ProtoToMarkup::FromJson(both, flag); }),
              "FeatureFlagConfigMsg: upload_enabled: there is a 'uploadEnabled' as well");
}
