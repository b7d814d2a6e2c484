#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "AnswerProbe.h"
#include "DFUploadDiagnosticFiles.h"
#include "HttpGlobal.h"
#include "ScriptedHttpServer.h"
#include "TemporaryFolder.h"

namespace
{
using Server = ScriptedHttpServer;
using testing::HasSubstr;

const std::string kBase = "/mnt/nv/product-persistence/quillane_jwt";
const std::string kFolder = "a folder";
const std::string kPipe = "a pipe";
const std::string kLeftOut;

std::string TokenFile(const std::string& token)
{
    return R"({"access_token":")" + token + R"(","expires_in":3600,"token_type":"bearer","refresh_token":"r"})";
}

/** Makes the file hold this; an empty optional for no file. */
void LayOut(const std::string& path, const std::optional<std::string>& content)
{
    std::filesystem::remove_all(path);
    if (content == kFolder) {
        std::filesystem::create_directories(path + "/in it");
    } else if (content == kPipe) {
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    } else if (content) {
        WriteWholeFile(path, *content);
    }
}

/** Heads of the requests of one upload, which must be answered by what the cloud says. */
std::vector<std::string> UploadHeads(const std::string& archive)
{
    const Server cloud({{Server::Answer(200, R"({"uploadUrl":"http://127.0.0.1:8888/archive"})")},
                        {Server::Answer(200, R"({"stored":1})")}},
                       8888);
    AnswerProbe probe;
    DiagnosticFileSvc::DFUploadDiagnosticFiles::GetInstance().PostMetadata({}, archive, &probe.callback);
    EXPECT_EQ(probe.WaitFor(1), std::vector<AnswerProbe::Answer>({{R"({"stored":1})", 200}}));
    std::vector<std::string> heads;
    for (const auto& request : cloud.Requests()) {
        heads.push_back(request.head);
    }
    return heads;
}
} // namespace

TEST(DFUploadDiagnosticFilesHeaders, CarryTheTokenThatTheDeviceHolds_WhateverItsFilesHold)
{
    Http::InitializeProcess();
    const TemporaryFolder folder;
    const std::string archive = folder.Write("archive", "bytes");
    const std::string notLeft = "\r\nx-product-token: before\r\n";
    const std::string none = "\r\nx-product-token:\r\n";
    const std::string head = "eyJhbGciOiJFUzI1NiJ9.eyJhIjoxfQ.c2ln";
    const std::string sent = "\r\nx-product-token: " + head + "\r\n";
    const std::optional<std::string> absent;
    const struct
    {
        std::string name;
        std::optional<std::string> token, timeStamp, refreshTime;
        std::string line; ///< of both requests; kLeftOut for no such header
    } cases[] = {
        {"good", TokenFile(head), "1999999999", "1999999999", sent},
        {"no JWT", TokenFile("text"), "1", "1", "\r\nx-product-token: text\r\n"},
        {"no file", absent, absent, absent, none},
        {"not JSON", "{\"access_token\"", "1", "1", none},
        {"too large", TokenFile(std::string(32768, 'a')), "1", "1", none},
        {"as large as it may be", TokenFile(std::string(32600, 'a')), "1", "1",
         "\r\nx-product-token: " + std::string(32600, 'a') + "\r\n"},
        {"a pipe", kPipe, "1", "1", none},
        {"blanks", TokenFile(" \\t"), "1", "1", none},
        {"a line break", TokenFile("a\\r\\nX-Smuggled: b"), "1", "1", kLeftOut},
        {"letters as times", TokenFile(head), "soon", "MISSING REFRESH TOKEN", sent},
        {"times that no clock or number holds", TokenFile(head), "9223372036854775807", "99999999999999999999", sent},
        {"folders as times", TokenFile(head), kFolder, kFolder, sent},
        {"pipes as times", TokenFile(head), kPipe, kPipe, sent},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        LayOut(kBase + ".json", TokenFile("before"));
        LayOut(kBase + ".timestamp", "1");
        LayOut(kBase + ".refresh_token", "1");
        EXPECT_THAT(UploadHeads(archive), testing::Each(HasSubstr(notLeft)));

        LayOut(kBase + ".json", each.token);
        LayOut(kBase + ".timestamp", each.timeStamp);
        LayOut(kBase + ".refresh_token", each.refreshTime);
        const auto heads = UploadHeads(archive);
        EXPECT_EQ(heads.size(), 2U);
        EXPECT_THAT(heads, testing::Each(HasSubstr(each.line)));
        for (const std::string& sentHead : heads) {
            EXPECT_EQ(sentHead.find("x-product-token") == std::string::npos, each.line == kLeftOut);
        }
        EXPECT_THAT(heads, testing::Each(Not(testing::AnyOf(HasSubstr(notLeft), HasSubstr("X-Smuggled")))));
    }

    // A pipe gives what it holds to the first who reads: the second post has read anew.
    LayOut(kBase + ".json", kPipe);
    std::fstream pipe(kBase + ".json");
    pipe << TokenFile(head) << std::flush;
    EXPECT_THAT(UploadHeads(archive), testing::ElementsAre(HasSubstr(sent), HasSubstr(none)));
}
