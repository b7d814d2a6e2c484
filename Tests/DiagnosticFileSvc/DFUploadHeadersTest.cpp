#include "DFUploadHeaders.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace
{
constexpr char kTokenFile[] = "/mnt/nv/product-persistence/quillane_jwt.json";

std::string TokenFile(const std::string& token)
{
    return R"({"access_token":")" + token + R"(","expires_in":3600,"token_type":"bearer","refresh_token":"r"})";
}
} // namespace

TEST(DFUploadHeaders, CarryTheTokenThatTheDeviceHolds_WhateverItsFilesHold)
{
    const std::string jwt = "eyJhbGciOiJFUzI1NiJ9.eyJhIjoxfQ.c2ln";
    const struct
    {
        std::string tokenFile;
        const char* timeStamp;
        std::string inHeaders;
    } cases[] = {
        {TokenFile(jwt), "1999999999", jwt},
        {TokenFile("no JWT"), "1999999999", "no JWT"},
        {TokenFile(jwt), "soon", jwt},
        {TokenFile(jwt), "9223372036854775807", jwt},
        {TokenFile(std::string(32600, 'a')), "1999999999", std::string(32600, 'a')},
        {TokenFile(std::string(32768, 'a')), "1999999999", ""},
        {"{\"access_token\"", "1999999999", ""},
        {"", "1999999999", ""},
    };
    JwtUtils::QuillaneTokens tokens;
    const auto inHeaders = [&tokens](const std::string& tokenFile) {
        WriteWholeFile(kTokenFile, tokenFile);
        return DiagnosticFileSvc::BuildMetadataPostHeader(tokens).at("x-product-token");
    };
    for (const auto& each : cases) {
        WriteWholeFile("/mnt/nv/product-persistence/quillane_jwt.timestamp", each.timeStamp);
        EXPECT_EQ(inHeaders(TokenFile("before")), "before");
        EXPECT_EQ(inHeaders(each.tokenFile), each.inHeaders) << each.tokenFile;
    }
}
