#include "MfgData.h"
#include "NameValueFile.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

TEST(NameValueFile, Values_ComeBackAsTextAndWhatIsNoneIsLogged)
{
    const TemporaryFolder folder;
    std::string content = R"({
        "short": "2.1 \u00e9", "build": 1.10, "big": 12345678901234567890123, "small": -3, "flag": true, "empty": "",
        "object": {"a": 1}, "list": ["x"], "null": null
    })";
    content.resize(std::size_t{64} << 10U, ' ');
    const NameValueFile file(folder.Write("version.json", content));
    testing::internal::CaptureStderr();
    const std::pair<const char*, const char*> cases[] = {
        {"short", "2.1 \xc3\xa9"}, {"build", "1.10"}, {"big", "12345678901234567890123"},
        {"small", "-3"},           {"flag", "true"},  {"empty", ""},
        {"absent", "default"}};
    for (const auto& [name, value] : cases) {
        EXPECT_EQ(file.Get(name, "default"), value);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (const char* name : {"object", "list", "null"}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(file.Get(name, "default"), "default");
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("2 NameValueFile: ")) << name;
    }
}

TEST(NameValueFile, UnusableFile_ActsAsEmptyAndIsLogged)
{
    const TemporaryFolder folder;
    for (const std::string& path :
         {folder.Path() + "/missing", folder.Path(), folder.Write("empty", ""), folder.Write("list", "[1]"),
          folder.Write("cut", R"({"short": "1)"),
          folder.Write("large", R"({"short": "1"})" + std::string(std::size_t{64} << 10U, ' '))}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(NameValueFile(path).Get("short", "1.0.67"), "1.0.67") << path;
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(path));
    }
}

TEST(MfgData, ValueThatAppearsLater_IsFound)
{
    ::remove("/persist/mfg_data.json");
    EXPECT_EQ(MfgData::Get("guid"), std::nullopt);
    WriteWholeFile("/persist/mfg_data.json", R"({"guid": "abc"})");
    EXPECT_EQ(MfgData::Get("guid"), "abc");
}
