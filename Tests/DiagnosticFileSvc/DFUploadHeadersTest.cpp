#include "DFUploadHeaders.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

namespace
{
using namespace DiagnosticFileSvc;
using Content = std::optional<std::string>; ///< of a file; none for no file

const std::string kHeader = "x-product-token";
const std::string kBase = "/mnt/nv/product-persistence/quillane_jwt";
const std::string kFolder = "a folder";
const std::string kPipe = "a pipe";

std::string TokenFile(const std::string& token)
{
    return R"({"access_token":")" + token + R"(","expires_in":3600,"token_type":"bearer","refresh_token":"r"})";
}

void LayOut(const Content& token, const Content& timeStamp, const Content& refreshTime)
{
    for (const auto& [suffix, content] :
         {std::pair(".json", token), {".timestamp", timeStamp}, {".refresh_token", refreshTime}}) {
        const std::string path = kBase + suffix;
        std::filesystem::remove_all(path);
        if (content == kFolder) {
            std::filesystem::create_directories(path + "/in it");
        } else if (content == kPipe) {
            ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        } else if (content) {
            WriteWholeFile(path, *content);
        }
    }
}
} // namespace

TEST(DFUploadHeaders, CarryTheTokenThatTheDeviceHolds_WhateverItsFilesHold)
{
    const std::string sent = "eyJhbGciOiJFUzI1NiJ9.eyJhIjoxfQ.c2ln";
    const std::string longest(32600, 'a');
    const struct
    {
        const char* name;
        Content token, timeStamp, refreshTime;
        std::string inHeader;
    } cases[] = {
        {"good", TokenFile(sent), "1999999999", "1999999999", sent},
        {"no JWT", TokenFile("text"), "1", "1", "text"},
        {"no file", {}, {}, {}, ""},
        {"not JSON", "{\"access_token\"", "1", "1", ""},
        {"too large", TokenFile(std::string(32768, 'a')), "1", "1", ""},
        {"as large as it may be", TokenFile(longest), "1", "1", longest},
        {"a pipe", kPipe, "1", "1", ""},
        {"letters as times", TokenFile(sent), "soon", "MISSING REFRESH TOKEN", sent},
        {"times that no clock or number holds", TokenFile(sent), "9223372036854775807", "99999999999999999999", sent},
        {"folders as times", TokenFile(sent), kFolder, kFolder, sent},
        {"pipes as times", TokenFile(sent), kPipe, kPipe, sent},
    };
    JwtUtils::QuillaneTokens tokens;
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        LayOut(TokenFile("before"), "1", "1");
        EXPECT_EQ(BuildMetadataPostHeader(tokens).at(kHeader), "before");
        LayOut(each.token, each.timeStamp, each.refreshTime);
        EXPECT_EQ(BuildMetadataPostHeader(tokens).at(kHeader), each.inHeader);
        EXPECT_EQ(BuildDiagnosticFilePostHeader(tokens, "").at(kHeader), each.inHeader);
    }

    // A pipe gives what it holds to the first who reads: the second has read anew.
    LayOut(kPipe, "1", "1");
    std::fstream pipe(kBase + ".json");
    pipe << TokenFile(sent) << std::flush;
    EXPECT_EQ(BuildMetadataPostHeader(tokens).at(kHeader), sent);
    EXPECT_EQ(BuildDiagnosticFilePostHeader(tokens, "").at(kHeader), "");
}
