#include "NameValueFile.h"

#include <gtest/gtest.h>

#include "MfgData.h"
#include "TemporaryFolder.h"

TEST(NameValueFile, Values_ComeBackAsTextAndWhatIsNoneIsLogged)
{
    const TemporaryFolder folder;
    const NameValueFile file(folder.Write("version.json", R"({
        "short": "2.1 \u00e9", "build": 1.10, "big": 12345678901234567890123, "small": -3, "flag": true, "empty": "",
        "object": {"a": 1}, "list": ["x"], "null": null
    })"));
    const std::pair<const char*, const char*> values[] = {
        {"short", "2.1 \xc3\xa9"}, {"build", "1.10"}, {"big", "12345678901234567890123"},
        {"small", "-3"},           {"flag", "true"},  {"empty", ""},
        {"absent", "default"},
    };
    for (const auto& [name, value] : values) {
        EXPECT_EQ(file.Get(name, "default"), value) << name;
    }
    for (const char* name : {"object", "list", "null"}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(file.Get(name, "default"), "default");
        EXPECT_NE(testing::internal::GetCapturedStderr().find("2 NameValueFile: "), std::string::npos) << name;
    }
}

TEST(NameValueFile, UnusableFile_ActsAsEmptyAndIsLogged)
{
    const TemporaryFolder folder;
    const std::string paths[] = {folder.Path() + "/missing",
                                 folder.Path(),
                                 folder.Write("empty", ""),
                                 folder.Write("list", "[1]"),
                                 folder.Write("cut", R"({"short": "1)"),
                                 folder.Write("large", R"({"short": "1"})" + std::string(NameValueFile::kMaxSize, ' ')),
                                 folder.Write("nul", std::string("{\"short\": \"1\"}\0{}", 17))};
    for (const std::string& path : paths) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(NameValueFile(path).Get("short", "1.0.67"), "1.0.67") << path;
        EXPECT_NE(testing::internal::GetCapturedStderr().find(path), std::string::npos);
    }
}

TEST(MfgData, ValueThatAppearsLater_IsFound)
{
    ::remove("/persist/mfg_data.json");
    EXPECT_EQ(MfgData::Get("guid"), std::nullopt);
    WriteWholeFile("/persist/mfg_data.json", R"({"guid": "abc"})");
    EXPECT_EQ(MfgData::Get("guid"), "abc");
}
